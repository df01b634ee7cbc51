# SPDX-License-Identifier: MIT
"""A door in front of a market: passes requests on, remembers which ones came, and can hold the market still."""
import http.server
import threading
import urllib.error
import urllib.request


class Gate:
    def __init__(self, market):
        self.market = market
        self.paths = []
        self.still = False  # the last answers are given again
        self.answers = {}
        gate = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):  # noqa: N802  pylint: disable=invalid-name
                gate.paths.append(self.path)
                status, body = gate.passed_on(self.path)
                self.send_response(status)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    @property
    def address(self):
        return f"http://127.0.0.1:{self.server.server_port}"

    def passed_on(self, path):
        if not self.still or path not in self.answers:
            self.answers[path] = self.answer_of_market(path)
        return self.answers[path]

    def answer_of_market(self, path):
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(self.market + path, timeout=10) as reply:
                return reply.status, reply.read()
        except urllib.error.HTTPError as error:
            return error.code, error.read()

    def candle_requests(self):
        """These come once a minute, and with everything that asks for all data."""
        return sum("candle" in path or "kline" in path for path in self.paths)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()
