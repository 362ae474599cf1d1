"""The panel "Lumenara" in the 3D view's sidebar, and its operators."""
import bpy

from .live import link

ADDON = __package__


class LumenaraSettings(bpy.types.PropertyGroup):
    follow: bpy.props.EnumProperty(
        name="Look Through", default="CAMERA", description="The camera of Studio's viewer",
        items=[("CAMERA", "Scene Camera", "The camera that renders in Blender"), ("VIEW", "3D View", "The first 3D view, while you turn it")])
    visibility: bpy.props.EnumProperty(
        name="Visibility", default="VIEWPORT", description="The switch of the outliner that decides which objects are shown",
        items=[("VIEWPORT", "Viewport", "Everything that the viewport shows"),
               ("RENDER", "Render", "What the viewport shows, without objects that renders hide")])
    resolution: bpy.props.IntProperty(name="Resolution", subtype="PERCENTAGE", min=5, max=100, default=50,
                                      description="Size of the picture, as a part of the render's resolution in Blender")


class LumenaraPreferences(bpy.types.AddonPreferences):
    bl_idname = ADDON
    program: bpy.props.StringProperty(name="Lumenara Studio", subtype="FILE_PATH", description="The program; empty: lumenara-studio of the path")

    def draw(self, context):
        self.layout.prop(self, "program")


def studio_program(context):
    addon = context.preferences.addons.get(ADDON)
    return addon.preferences.program if addon else ""


class Connect(bpy.types.Operator):
    """Find a running Lumenara Studio, or start one, and send the scene"""

    bl_idname = "lumenara.connect"
    bl_label = "Start or Find Studio"

    def execute(self, context):
        if not link.connect(start=True, program=studio_program(context)):
            self.report({"ERROR"}, f"{link.error} {link.help}")
            return {"CANCELLED"}
        link.send_scene()
        link.set_live(True)
        return {"FINISHED"}


class Disconnect(bpy.types.Operator):
    """End the connection; Studio keeps the scene"""

    bl_idname = "lumenara.disconnect"
    bl_label = "Disconnect"

    def execute(self, context):
        link.set_live(False)
        link.disconnect()
        return {"FINISHED"}


class SendScene(bpy.types.Operator):
    """Send the whole scene once more"""

    bl_idname = "lumenara.send"
    bl_label = "Send Scene"

    @classmethod
    def poll(cls, context):
        return link.connected

    def execute(self, context):
        link.send_scene()
        return {"FINISHED"}


class ToggleLive(bpy.types.Operator):
    """Send changes while you work"""

    bl_idname = "lumenara.live"
    bl_label = "Live"

    @classmethod
    def poll(cls, context):
        return link.connected

    def execute(self, context):
        link.set_live(not link.live)
        if link.live and link.sync:
            link.sync.mark_all()
        return {"FINISHED"}


class LumenaraPanel(bpy.types.Panel):
    bl_idname = "VIEW3D_PT_lumenara"
    bl_label = "Lumenara"
    bl_space_type, bl_region_type, bl_category = "VIEW_3D", "UI", "Lumenara"

    def draw(self, context):
        layout, settings = self.layout, context.scene.lumenara
        if link.connected:
            row = layout.row(align=True)
            row.operator(ToggleLive.bl_idname, depress=link.live, icon="REC" if link.live else "PAUSE")
            row.operator(SendScene.bl_idname, icon="EXPORT")
            layout.operator(Disconnect.bl_idname, icon="UNLINKED")
        else:
            layout.operator(Connect.bl_idname, icon="LINKED")
        column = layout.column()
        column.use_property_split = True
        column.prop(settings, "follow")
        column.prop(settings, "visibility")
        column.prop(settings, "resolution")
        box = layout.box().column(align=True)
        for line in link.status():
            box.label(text=line)
        for line, icon in ((link.error, "ERROR"), (link.help, "BLANK1")):
            if line:
                box.label(text=line, icon=icon)
        notes = link.notes()
        if notes:
            box = layout.box().column(align=True)
            box.label(text="Shown differently:", icon="INFO")
            for note in notes[:12]:
                box.label(text=note)
            if len(notes) > 12:
                box.label(text=f"and {len(notes) - 12} more")


CLASSES = (LumenaraSettings, LumenaraPreferences, Connect, Disconnect, SendScene, ToggleLive, LumenaraPanel)


def register():
    for item in CLASSES:
        bpy.utils.register_class(item)
    bpy.types.Scene.lumenara = bpy.props.PointerProperty(type=LumenaraSettings)


def unregister():
    del bpy.types.Scene.lumenara
    for item in reversed(CLASSES):
        bpy.utils.unregister_class(item)
