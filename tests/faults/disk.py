"""A small disk that can be full."""

from control import root_of

_DISK_BYTES = 256 * 1024


class Disk:
    """A small disk of the Mac's own, in the place of a folder. Its files are those of the Mac alone."""

    def __init__(self, host, folder, size=_DISK_BYTES):
        files = {path.name: path.read_bytes() for path in folder.iterdir()} if folder.exists() else {}
        host.run(["mkdir", "-p", "-m", "700", folder], check=True)
        host.run(["mount", "-t", "tmpfs", "-o", f"size={size},mode=700", "tmpfs", folder], check=True)
        self.folder = root_of(host) / str(folder).lstrip("/")
        for name, content in files.items():
            (self.folder / name).write_bytes(content)
        self._filler = self.folder / "filler"

    def fill(self):
        """Takes every block that is left."""
        with open(self._filler, "wb", buffering=0) as file:
            try:
                while True:
                    file.write(b"\0" * 4096)
            except OSError:
                pass

    def heal(self):
        self._filler.unlink()

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())
