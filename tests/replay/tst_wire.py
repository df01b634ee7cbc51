# SPDX-License-Identifier: MIT
"""The market server as its caller sees it: arguments, standard streams, HTTP, and every fault on the wire."""
import gzip
import http.client
import os
import pathlib
import re
import signal
import ssl
import subprocess
import tempfile
import time
import unittest

from replayserver import PROGRAM, ReplayServer, Wire, certificate, request

CLOCK = ("--clock", "2026-03-03T10:20:30Z")
CANDLES = "/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1h&limit=200"
TICKER = "/api/v4/futures/usdt/tickers?contract=BTC_USDT"


def run(*arguments):
    return subprocess.run([PROGRAM, *arguments], stdin=subprocess.DEVNULL, capture_output=True, timeout=20, check=False)


class Command(unittest.TestCase):
    def test_prints_the_address_of_the_port_that_it_is_given(self):
        with ReplayServer() as server:
            self.assertEqual(server.address, f"http://127.0.0.1:{server.port}")
            second = run("--port", str(server.port))
            self.assertEqual((second.returncode, second.stdout, second.stderr.count(b"\n")), (1, b"", 1))
            port = server.port
        with ReplayServer("--port", port) as again:
            self.assertEqual(again.port, port)

    def test_ends_when_told(self):
        with ReplayServer("--exit-with-stdin") as bound, ReplayServer() as loose:
            bound.process.stdin.write(b"anything\n")
            bound.process.stdin.flush()
            loose.process.stdin.close()
            time.sleep(0.2)
            self.assertEqual((bound.process.poll(), loose.process.poll()), (None, None))
            bound.process.stdin.close()
            loose.process.send_signal(signal.SIGINT)
            self.assertEqual((bound.process.wait(10), loose.process.wait(10)), (0, 0))

    def test_rejects_wrong_arguments(self):
        for wrong in ("--nonsense", "--port", "--port 65536", "--latency -1", "--clock 1969-12-31T00:00:00Z",
                      "--speed nan", "--history /nonexistent/folder", "--tls cert.pem", "--fault okx.candles",
                      "--fault okx.ticker=stall", "--fault okx.candles=empty,html", "--fault okx.candles=status:600",
                      "--fault okx.candles=status:204", "--fault okx.candles=redirect:", "--fault okx.candles=stall,"):
            with self.subTest(wrong):
                ended = run(*wrong.split())
                self.assertEqual((ended.returncode, ended.stdout), (2, b""))
                self.assertRegex(ended.stderr, rb"\Akestrune-replay: [^\n]+\n\Z")

    def test_answers_later_when_asked(self):
        with ReplayServer("--latency", 300) as server, Wire(server) as wire:
            begin = time.monotonic()
            wire.ask(TICKER)
            wire.ask("/q=sh600519")
            self.assertEqual(wire.reply().status, 200)
            self.assertGreater(time.monotonic() - begin, 0.295)
            self.assertTrue(wire.reply().body.startswith(b"v_sh600519"))
            self.assertGreater(time.monotonic() - begin, 0.59)


class Http(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = cls.enterClassContext(ReplayServer(*CLOCK))

    def wire(self):
        return self.enterContext(Wire(self.server))

    def test_keeps_connections_and_answers_pipelined_requests_in_order(self):
        wire = self.wire()
        wire.socket.sendall(request(CANDLES) + request("/nowhere") + request(TICKER))
        first, second, third = wire.reply(), wire.reply(), wire.reply()
        self.assertEqual((first.status, second.status, third.status), (200, 404, 200))
        self.assertEqual(first.body, self.server.get(CANDLES))
        self.assertEqual(first.headers["content-type"], "application/json")
        self.assertEqual(third.body, self.server.get(TICKER))
        wire.ask(TICKER)
        self.assertEqual(wire.reply().body, third.body)

    def test_takes_requests_in_pieces(self):
        wire = self.wire()
        for byte in b"\r\n" + request(TICKER):  # a stray line end before it is tolerated
            wire.socket.sendall(bytes([byte]))
            time.sleep(0.001)
        self.assertEqual(wire.reply().status, 200)

    def test_ends_connections_when_asked(self):
        for asking in (request(TICKER, "Connection: close\r\n"), f"GET {TICKER} HTTP/1.0\r\n\r\n".encode()):
            wire = self.wire()
            wire.socket.sendall(asking)
            reply = wire.reply()
            self.assertEqual((reply.status, reply.headers["connection"]), (200, "close"))
            self.assertEqual((wire.read_for(10), wire.end), (b"", "closed"))

    def test_waits_for_slow_readers(self):
        # 20 MB of answers to a client that first only writes: none is lost, and not all are kept in memory.
        wire = self.wire()
        count = 200
        wire.socket.sendall(request("/api/v3/klines?symbol=BTCUSDT&interval=1m&limit=1000") * count)
        time.sleep(0.3)
        status = pathlib.Path(f"/proc/{self.server.process.pid}/status").read_text(encoding="ascii")
        if not os.environ.get("KESTRUNE_SANITIZE"):  # which keeps what is freed
            self.assertLess(int(re.search(r"VmHWM:\s*(\d+)", status)[1]), 40 * 1024)
        replies = {wire.reply()[::2] for _ in range(count)}  # without the headers
        self.assertEqual([status for status, _ in replies], [200])

    def test_refuses_bad_requests(self):
        for name, asking, status in (
                ("no host in HTTP/1.1", "GET / HTTP/1.1\r\n\r\n", 400),
                ("a body", "GET / HTTP/1.1\r\nContent-Length: 3\r\nHost: x\r\n\r\nabc", 400),
                ("a chunked body", "GET / HTTP/1.1\r\nTransfer-Encoding: chunked\r\nHost: x\r\n\r\n0\r\n\r\n", 400),
                ("another method", "POST / HTTP/1.1\r\nHost: x\r\n\r\n", 405),
                ("a head without end", "GET / HTTP/1.1\r\nX: " + "x" * 100000, 431)):
            with self.subTest(name):
                wire = self.wire()
                wire.socket.sendall(asking.encode())
                reply = wire.reply()
                self.assertEqual((reply.status, reply.headers.get("allow")), (status, "GET" if status == 405 else None))
                self.assertEqual(wire.read_for(10), b"")
                self.assertNotEqual(wire.end, "open")

    def test_answers_behind_any_prefix(self):
        self.assertEqual(self.server.get("/gateway/v2" + TICKER), self.server.get(TICKER))
        self.assertEqual(self.server.get("/gateway/q=sh600519"), self.server.get("/q=sh600519"))
        self.assertEqual(self.server.get("/x/q=sh600519%2Chk00700"), self.server.get("/q=sh600519,hk00700"))
        self.assertEqual(self.server.reply("/api/v4/spot/candlesticks/more").status, 404)

    def test_speaks_tls(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        files = certificate(folder, "own", 30)
        with ReplayServer(*CLOCK, "--tls", *files) as server:
            self.assertTrue(server.address.startswith("https://127.0.0.1:"))
            context = ssl.create_default_context(cafile=files[0])
            context.check_hostname = False
            client = http.client.HTTPSConnection("127.0.0.1", server.port, context=context, timeout=20)
            client.request("GET", TICKER)
            self.assertEqual(client.getresponse().read(), self.server.get(TICKER))
            client.close()


class Faults(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with ReplayServer(*CLOCK) as server:
            cls.candles = server.get(CANDLES)

    def faulty(self, fault):
        """A connection to a server with the fault, on which candles are asked for."""
        server = self.enterContext(ReplayServer(*CLOCK, "--fault", fault))
        wire = self.enterContext(Wire(server))
        wire.ask(CANDLES)
        return wire

    def test_changes_the_content(self):
        for kind, status, content, body in (
                ("status:503", 503, "application/json", b'{"label":'),
                ("empty", 200, "application/json", b"$"),
                ("html", 200, "text/html", b"<!DOCTYPE html>"),
                ("redirect:http://127.0.0.1:1/q=a,b", 302, "application/json", b"$")):
            with self.subTest(kind):
                wire = self.faulty("gate.candles=" + kind)
                reply = wire.reply()
                self.assertEqual((reply.status, reply.headers["content-type"]), (status, content))
                self.assertEqual(reply.headers.get("location"), kind[9:] if status == 302 else None)
                self.assertRegex(reply.body, rb"\A" + body)
                wire.ask(CANDLES)  # these leave the connection in order
                self.assertEqual(wire.reply().status, status)

    def test_ends_early(self):
        for kind, half, end in (("stall", False, "open"), ("stall-body", True, "open"), ("truncate", True, "closed"),
                                ("reset", False, "reset"), ("reset-body", True, "reset")):
            with self.subTest(kind):
                wire = self.faulty("gate.candles=" + kind)
                head, _, body = wire.read_for(0.5 if end == "open" else 10).partition(b"\r\n\r\n")
                self.assertEqual(wire.end, end)
                self.assertEqual(body, self.candles[:len(self.candles) // 2] if half else b"")
                self.assertEqual(b"Content-Length: %d\r\n" % len(self.candles) in head + b"\r\n", half)

    def test_drips_for_ever(self):
        wire = self.faulty("gate.candles=drip")
        head, _, early = wire.read_for(0.7).partition(b"\r\n\r\n")
        late = wire.read_for(0.7)
        self.assertIn(b"Content-Length: %d" % len(self.candles), head)
        self.assertTrue(1 <= len(late) <= 6 and self.candles.startswith(early + late))
        self.assertEqual(wire.end, "open")

    def test_floods(self):
        wire = self.faulty("gate.candles=flood")
        head, _, body = wire.read_for(60).partition(b"\r\n\r\n")
        self.assertEqual(wire.end, "closed")
        self.assertNotIn(b"content-length", head.lower())
        self.assertEqual(len(body), len(self.candles) + 50 * 1024 * 1024)

    def test_floods_without_end(self):
        for kind, begin, more in (("chunk", b"\r\n\r\n7fffffffffffffff\r\n", b" " * 20),
                                  ("extension", b"\r\n\r\n1;", b"x" * 20), ("head", b"X-More: and more\r\n", b"")):
            got = self.faulty("gate.candles=flood-" + kind).read_for(0.3)
            self.assertTrue(len(got) > 2**20 and begin + more in got.replace(self.candles, b""), kind)
            self.assertEqual(kind == "head", b"\r\n\r\n" not in got)

    def test_sends_a_well_formed_gzip_bomb(self):
        reply = self.faulty("gate.candles=gzip-bomb").reply()
        self.assertEqual(reply.headers["content-encoding"], "gzip")
        self.assertLess(len(reply.body), 100 * 1024)
        self.assertEqual(gzip.decompress(reply.body), bytes(64 * 1024 * 1024))

    def test_leaves_other_endpoints_alone(self):
        with ReplayServer(*CLOCK, "--fault", "okx.candles=status:500") as server:
            self.assertEqual(server.get(CANDLES), self.candles)
            okx = server.reply("/api/v5/market/candles?instId=BTC-USDT-SWAP&bar=1H&limit=200")
            self.assertEqual((okx.status, okx.body[:15]), (500, b'{"code":"50001"'))
        with ReplayServer("--fault", "all=status:500") as server:
            self.assertEqual((server.reply(CANDLES).status, server.reply("/q=sh600519").status), (500, 500))
        # A content and a delivery go together; a wrong length leaves the rest of the body behind the reply.
        wire = self.faulty("gate.candles=html,wrong-length")
        page = wire.reply().body
        self.assertTrue(page.startswith(b"<!DOCTYPE html>"))
        while not wire.pending.endswith(b"</html>\n"):
            self.assertTrue(wire.more(10))
        self.assertEqual(len(page), (len(page) + len(wire.pending)) // 2)
