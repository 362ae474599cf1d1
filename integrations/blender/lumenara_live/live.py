"""The link as the add-on keeps it: a connection, Blender's handlers, and a timer that sends in slices."""
import threading
import time

import bpy
from bpy.app.handlers import persistent

from . import lumenara_link, scenery, sync, walk
from .outbox import Outbox

TICK = 0.01  # seconds between two looks
SOON = 0.001  # the same while meshes are read: Blender draws and takes events between two slices
VIEW_INTERVAL = 1 / 30  # between two positions of a followed view
ACK_PATIENCE = 0.5  # a commit is sent without the last one's ack after so long
LONGEST_GOODBYE = 0.03  # seconds that Blender waits for the end of a connection
RETRY = 2.0  # seconds between two attempts to connect again
MOST_WAITING = 64 << 20  # bytes on their way to Studio beyond which nothing is read


class Link:
    """The state that the panel shows. One a Blender, main thread only."""

    def __init__(self):
        self.connection = self.outbox = self.sync = None
        self.live = False
        self.once = False  # a scene was asked for without live updates
        self.error, self.help = "", ""
        self.picked = ""
        self._committed_at = self._retry_at = self._view_at = 0.0
        self._view = None
        self._start_failure = None

    # Connection.

    @property
    def connected(self):
        return self.connection is not None and self.connection.connected

    def connect(self, start=False, program=""):
        self.disconnect()
        self.error = self.help = ""
        try:
            if start and not lumenara_link.find_studios():
                self._start(program)
                return True
            self.connection = lumenara_link.connect(f"Blender {bpy.app.version_string}")
        except lumenara_link.LinkError as error:
            self.error, self.help = error.text, error.help
            return False
        self.outbox = Outbox(self.connection)
        self.sync = sync.Sync(self.outbox, self._wanted_view())
        return True

    def _start(self, program):
        """Starts Studio on a thread; the timer connects once it listens."""
        def work():
            try:
                lumenara_link.start_studio(program or None)
            except lumenara_link.LinkError as error:
                self._start_failure = error

        self._start_failure, self._retry_at = None, 0.0
        threading.Thread(target=work, name="lumenara-start", daemon=True).start()

    def disconnect(self):
        if self.outbox:
            self.outbox.close()
        if self.connection:
            # A Studio that hangs holds the goodbye up for seconds; Blender does not wait for it.
            closing = threading.Thread(target=self.connection.close, name="lumenara-goodbye", daemon=True)
            closing.start()
            closing.join(LONGEST_GOODBYE)
        self.connection = self.outbox = self.sync = None

    def send_scene(self):
        """Sends everything; the timer does the work."""
        if self.sync:
            self.sync.mark_all(begin=True)
            self.outbox.put("send", "ping")  # a dead Studio is noticed before megabytes are read
            self.outbox.forget_all()
            self.once = True
            self._start_timer()

    def set_live(self, on):
        self.live = on
        if on:
            self._start_timer()

    def _wanted_view(self):
        scene = bpy.context.scene
        settings = getattr(scene, "lumenara", None)
        share = scene.render.resolution_percentage / 100 * (settings.resolution / 100 if settings else 1)
        return walk.View(max(1, round(scene.render.resolution_x * share)), max(1, round(scene.render.resolution_y * share)),
                         settings is not None and settings.visibility == "RENDER")

    # The timer.

    def _start_timer(self):
        if not bpy.app.timers.is_registered(tick):
            bpy.app.timers.register(tick, first_interval=0.0, persistent=True)

    def tick(self):
        """One look at what is to do. Seconds until the next, or None to end."""
        if not (self.live or self.once):
            return None
        if not self._alive():
            return TICK * 10
        self._read_answers()
        if self._must_wait():
            return TICK
        wanted = self._wanted_view()
        if wanted != self.sync.view:
            self.sync.view, self.sync.structure = wanted, True
        if self.sync.dirty and bpy.context.scene is not None:
            before = self.sync.commits
            if self.sync.step(bpy.context.evaluated_depsgraph_get()):
                self.once = False
            if self.sync.commits != before:
                self._committed_at = time.monotonic()
        elif self.live:
            self._follow_view()
        return SOON if self.sync.readers else TICK

    def _must_wait(self):
        """A commit that Studio has not applied yet holds the next one back, so that nothing piles up."""
        waits = self.connection.applied < self.sync.commits and time.monotonic() - self._committed_at < ACK_PATIENCE
        return waits or self.connection.waiting_bytes > MOST_WAITING

    def send_moves(self, depsgraph):
        """Sends transforms at once, before Blender draws: a redraw may take longer than everything else."""
        if self.connected and self.outbox.failure is None and self.sync.only_moves and not self._must_wait():
            self.sync.step(depsgraph)
            self._committed_at = time.monotonic()

    def _alive(self):
        """False while Studio is away; connects again when it is back."""
        failure = self.outbox.failure if self.outbox else None
        if self.connected and failure is None:
            return True
        failure = failure or (self.connection.failure if self.connection else self._start_failure)
        if failure:
            self.error, self.help = failure.text, failure.help
        if time.monotonic() >= self._retry_at:
            self._retry_at = time.monotonic() + RETRY
            if lumenara_link.find_studios():
                return self.connect()
        return False

    def _read_answers(self):
        for message, _ in self.connection.answers():
            if message.get("type") == "error":
                self.error, self.help = str(message.get("text", "")), str(message.get("help", ""))
            elif message.get("type") == "picked":
                self._pick(str(message.get("key", "")))
            elif message.get("type") == "ack":
                redraw()

    def _pick(self, key):
        """Selects in Blender what was selected in Studio."""
        self.picked = key
        item = self.sync.items.get(key)
        original = bpy.data.objects.get(item.reader or item.name) if item else None
        if original and original.name in bpy.context.view_layer.objects:
            for other in bpy.context.selected_objects:
                other.select_set(False)
            original.select_set(True)
            bpy.context.view_layer.objects.active = original

    # Blender's own view.

    def _follow_view(self):
        settings = getattr(bpy.context.scene, "lumenara", None)
        if settings is None or settings.follow != "VIEW" or time.monotonic() - self._view_at < VIEW_INTERVAL:
            if self.sync.camera and settings is not None and settings.follow != "VIEW":
                self.sync.end_view()
                self._view = None
            return
        found = first_view()
        if found is None:
            return
        region, view = found
        lens = scenery.lens_fields(view.window_matrix, 0.01, 1000.0, region.width, region.height)
        now = (tuple(scenery.columns(view.view_matrix)), lens.get("yfov"), lens.get("ymag"), self.sync.begun)
        if now != self._view:
            self._view, self._view_at = now, time.monotonic()
            self._committed_at = self._view_at
            self.sync.send_view(view.view_matrix.inverted(), lens)

    # Texts of the panel.

    def status(self):
        """Lines for the panel."""
        if not self.connected:
            return ["Not connected"]
        ack = self.connection.acknowledged
        lines = [f"Connected: {self.connection.welcome.get('program', 'Lumenara Studio')}"]
        if ack:
            lines.append(f"{ack.get('objects', 0):,} objects, {ack.get('triangles', 0):,} triangles")
            lines.append(f"Last update: {ack.get('milliseconds', 0):.0f} ms")
        return lines

    def notes(self):
        if not self.sync:
            return []
        return self.sync.notes + [str(note) for note in self.connection.acknowledged.get("notes", [])]


def first_view():
    """Region and view data of the first 3D view."""
    for window in bpy.context.window_manager.windows:
        for area in window.screen.areas:
            if area.type == "VIEW_3D":
                region = next(region for region in area.regions if region.type == "WINDOW")
                return region, area.spaces.active.region_3d
    return None


def redraw():
    """Shows the panel anew."""
    for window in bpy.context.window_manager.windows:
        for area in window.screen.areas:
            if area.type == "VIEW_3D":
                for region in area.regions:
                    if region.type == "UI":
                        region.tag_redraw()


link = Link()


def tick():
    return link.tick()


@persistent
def on_update(scene, depsgraph):
    if link.live and link.sync:
        for update in depsgraph.updates:
            link.sync.mark_update(update)
        if depsgraph.id_type_updated("COLLECTION"):
            link.sync.structure = True
        link.send_moves(depsgraph)


@persistent
def on_frame(scene, depsgraph=None):
    if link.live and link.sync and depsgraph is not None:
        on_update(scene, depsgraph)
        link.sync.world = link.sync.structure = True


@persistent
def on_undo(*_):
    if link.live and link.sync:
        link.sync.mark_all()


@persistent
def on_load(*_):
    if link.sync:
        link.sync.mark_all(begin=True)
        link.outbox.forget_all()
        if link.live:
            link._start_timer()


HANDLERS = {"depsgraph_update_post": on_update, "frame_change_post": on_frame, "undo_post": on_undo, "redo_post": on_undo, "load_post": on_load}


def register():
    for name, handler in HANDLERS.items():
        getattr(bpy.app.handlers, name).append(handler)


def unregister():
    for name, handler in HANDLERS.items():
        getattr(bpy.app.handlers, name).remove(handler)
    if bpy.app.timers.is_registered(tick):
        bpy.app.timers.unregister(tick)
    link.live = False
    link.disconnect()
