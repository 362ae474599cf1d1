"""A thread that packs and sends what the main thread copied. It never touches Blender's data."""
import queue
import threading

from . import lumenara_link, meshes


class Outbox:
    """Runs jobs in order on a thread of its own. A failed job ends the rest; `failure` then says why."""

    def __init__(self, connection):
        self.connection, self.failure = connection, None
        self.checksums = {}  # of the meshes that Studio has
        self.triangles = {}
        self._jobs = queue.Queue()
        self._thread = threading.Thread(target=self._run, name="lumenara-outbox", daemon=True)
        self._thread.start()

    def _run(self):
        while True:
            job = self._jobs.get()
            if job is None:
                return
            try:
                if self.failure is None:
                    job()
            except lumenara_link.LinkError as error:
                self.failure = error
            except Exception as error:  # a fault of ours must not end silently with the thread
                self.failure = lumenara_link.LinkError(f"The add-on failed: {type(error).__name__}: {error}.", "Please report this.")
            finally:
                self._jobs.task_done()

    def put(self, method, *args, **kwargs):
        """Queues a call of a method of the connection."""
        self._jobs.put(lambda: getattr(self.connection, method)(*args, **kwargs))

    def put_mesh(self, key, name, buffers):
        """Queues a mesh; one that Studio has already, byte by byte, is not sent again."""
        def job():
            total = meshes.checksum(buffers)
            if self.checksums.get(key) == total:
                return
            self.triangles[key] = meshes.triangles(buffers)
            self.connection.mesh(key, name=name, **meshes.mesh_arguments(buffers))
            self.checksums[key] = total
        self._jobs.put(job)

    @property
    def busy(self):
        return self._jobs.unfinished_tasks > 0

    def drain(self):
        """Waits until all jobs are done. For scripts; the add-on never waits."""
        self._jobs.join()
        if self.failure:
            raise self.failure

    def close(self):
        self._jobs.put(None)

    def forget(self, key):
        """After a mesh was removed. Queued, so that it happens in order."""
        self._jobs.put(lambda: (self.checksums.pop(key, None), self.triangles.pop(key, None)))

    def forget_all(self):
        """Before the scene is sent from the start."""
        self._jobs.put(lambda: (self.checksums.clear(), self.triangles.clear()))
