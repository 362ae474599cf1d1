"""Lumenara Live: shows Blender's scene in Lumenara Studio while you work on it."""
bl_info = {
    "name": "Lumenara Live",
    "description": "Shows the scene in Lumenara Studio while you work on it",
    "author": "Lumenara",
    "version": (1, 0, 0),
    "blender": (3, 3, 0),
    "location": "3D View > Sidebar > Lumenara",
    "category": "Render",
}


def register():
    from . import live, panel
    panel.register()
    live.register()


def unregister():
    from . import live, panel
    live.unregister()
    panel.unregister()
