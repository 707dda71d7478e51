"""The maker's update service on one of the lab's hosts: the real names, a certificate that this host trusts, and a
version that can be changed. Nothing of it leaves the host."""

import json
import os
import ssl
import subprocess
import sys
from http.server import BaseHTTPRequestHandler, HTTPServer

from .errors import LabError
from .lines import Lines

_NAMES = ("updates.quillbay.example", "updates-fallback.quillbay.example")
_AUTHORITIES = "/etc/ssl/certs/ca-certificates.crt"
_LIMIT_SECONDS = 10


class UpdateService:
    """Answers on the host's loopback address from now on. `announce` says what is newest."""

    def __init__(self, host):
        self._folder = host.folder / "updates"
        self._folder.mkdir()
        self.announce(None)
        self._make_certificate()
        (self._folder / "hosts").write_text("127.0.0.1 localhost " + " ".join(_NAMES) + "\n")
        for own, there in (("hosts", "/etc/hosts"), ("authority.pem", _AUTHORITIES)):
            host.run(["mount", "--bind", str(self._folder / own), there], check=True)
        self._process = host.spawn(["/usr/bin/python3", "-m", "quillbay_lab.update_service", str(self._folder)],
                                   stdout=subprocess.PIPE, stderr=self._folder / "log")
        Lines(self._process.stdout).await_line("listening".__eq__, _LIMIT_SECONDS, "the update service listens")

    def announce(self, version):
        """From now on this version is the newest; nothing: the service has no answer."""
        answer = {"version": version, "download_url": f"https://quillbay.example/download/{version}"}
        temporary = self._folder / "latest.new"
        temporary.write_text(json.dumps(answer) if version else "")
        temporary.rename(self._folder / "latest.json")

    def close(self):
        self._process.end()

    def _make_certificate(self):
        key, authority = self._folder / "key.pem", self._folder / "authority.pem"
        names = ",".join(f"DNS:{name}" for name in _NAMES)
        command = ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days",
                   "30", "-subj", "/CN=lab", "-addext", f"subjectAltName={names}", "-keyout", str(key), "-out",
                   str(authority)]
        result = subprocess.run(command, capture_output=True, text=True, check=False)
        if result.returncode != 0:
            raise LabError(f"openssl: {result.stderr.strip()}")


class _Handler(BaseHTTPRequestHandler):
    folder = ""

    def do_GET(self):  # noqa: N802  (the library's name)
        with open(os.path.join(self.folder, "latest.json"), "rb") as file:
            body = file.read()
        known = self.path == "/api/latest" and body
        self.send_response(200 if known else 404)
        self.send_header("Content-Type", "application/json")
        self.end_headers()
        self.wfile.write(body if known else b"")


def main():
    folder = sys.argv[1]
    _Handler.folder = folder
    server = HTTPServer(("127.0.0.1", 443), _Handler)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(os.path.join(folder, "authority.pem"), os.path.join(folder, "key.pem"))
    server.socket = context.wrap_socket(server.socket, server_side=True)
    print("listening", flush=True)
    server.serve_forever()


if __name__ == "__main__":
    main()
