# SPDX-License-Identifier: MIT
"""The program against markets that fail: the next source each time, in time and in bounds.

Two dozen cases that end at once; with "all" every fault at every endpoint, alone and in pairs along the two fallback
chains, which takes minutes.
"""
import collections
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import threading
import time

from replayserver import BIN, ReplayServer, certificate

# The program looks every half second until 30 s have passed, waits one more and writes.
DEADLINE = 30.9
LATEST = 38  # room for a busy machine
LATEST_END = 3  # when told to quit; the same room
MOST_MIB = 1000 if os.environ.get("KESTRUNE_SANITIZE") else 100

# A sound request of each endpoint.
ENDPOINTS = {
    "gate.candles": "/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1d&limit=200",
    "binance.candles": "/api/v3/klines?symbol=BTCUSDT&interval=1d&limit=200",
    "okx.candles": "/api/v5/market/candles?instId=BTC-USDT-SWAP&bar=1D&limit=200",
    "gate.ticker": "/api/v4/futures/usdt/tickers?contract=BTC_USDT",
    "binance.ticker": "/fapi/v1/ticker/24hr?symbol=BTCUSDT",
    "tencent.quotes": "/q=sh600519",
    "tencent.candles": "/appstock/app/fqkline/get?param=sh600519,day,,,320,qfq"}
# What only the search asks, by a program of its own that tells how many contracts and shares it finds.
SEARCHES = {
    "gate.list": "/api/v4/futures/usdt/tickers",
    "binance.list": "/fapi/v1/ticker/24hr",
    "tencent.search": "/s3/?v=2&q=zsyh&t=all"}
FOUND = {"searched": ["15", "-1"], "unlisted": ["-1", "1"]}  # by outcome
# Redirections lead to a host that is broken as a whole. One with a bad certificate would serve what is asked for: a
# program that took it would show.
REDIRECTIONS = {"refused": "http://127.0.0.1:1/", "loop": "{request}", "untrusted": "{untrusted}{request}",
                "expired": "{expired}{request}", "no such host": "http://nowhere.invalid/"}
KINDS = ("status:429 status:451 status:501 empty html gzip-bomb stall stall-body reset reset-body truncate "
         "wrong-length drip flood flood-chunk flood-extension flood-head").split()

# What must come of a run: "complete" when another source serves, well before the deadline; without a price everything
# else is there at the deadline, against the last close; without candles the price alone. "left": the program with its bar is told to quit in the midst of it and does at once.
# "searched" and "unlisted": the search, without its first list and shares, and without either list.
Case = collections.namedtuple("Case", "outcome faults")


def alone(endpoint, kind):
    # Half a quote under a length that says so is an ordinary answer, and its first half holds the price.
    if endpoint == "tencent.quotes" and kind != "wrong-length":
        return Case("priceless", ((endpoint, kind),))
    return Case("candleless" if endpoint == "tencent.candles" else "complete", ((endpoint, kind),))


def pairs(first, second, outcome):
    kinds = ("reset", "stall", "drip", "gzip-bomb", "status:429", "untrusted")
    return [Case(outcome, ((first, one), (second, other))) for one in kinds for other in kinds]


def searches(kinds, unlisted):
    return ([Case("searched", (("gate.list", kind), ("tencent.search", kind))) for kind in kinds]
            + [Case("unlisted", (("gate.list", kind), ("binance.list", kind))) for kind in unlisted])


def all_cases():
    gate, binance, third = "gate.candles", "binance.candles", "okx.candles"
    return (pairs("gate.ticker", "binance.ticker", "priceless")  # the longest first
            + [alone(endpoint, kind) for endpoint in ENDPOINTS for kind in (*REDIRECTIONS, *KINDS)]
            + pairs(gate, binance, "complete") + pairs(gate, third, "complete") + pairs(binance, third, "complete")
            + searches((*REDIRECTIONS, *KINDS), (*REDIRECTIONS, *KINDS)))


def quick_cases():
    """The last source alone against faults in all before it, and hosts that must not be followed."""
    before = ("gate.candles", "binance.candles", "gate.ticker")
    lasting = ("stall", "stall-body", "drip", "flood-extension", "status:451", "status:501")
    return ([Case("complete", tuple((endpoint, kind) for endpoint in before))
             for kind in ("refused", *KINDS) if kind not in lasting]
            + [alone(endpoint, kind) for endpoint in (*before, "binance.ticker")
               for kind in ("untrusted", "expired", "loop", "status:501")]
            + searches(("untrusted", *KINDS), ("stall", "html"))
            + [Case("left", (("all", kind + more),)) for kind in KINDS if kind.startswith("flood-")
               for more in ("", ",redirect:http://127.0.0.1:1/")])


def complaint(case, folder, process, used, seconds):
    """What is not as it must be, or nothing."""
    errors = (folder / "errors").read_text(encoding="utf-8")
    said = [line for line in errors.splitlines() if not line.startswith("This plugin does not support")]
    if process.returncode != 0 or said:
        return f"it ends with {process.returncode} and says {errors!r}"
    if used.ru_maxrss / 1024 > MOST_MIB:
        return f"it takes {used.ru_maxrss / 1024:.0f} MiB"
    if case.outcome in FOUND:
        found = (folder / "found").read_text(encoding="utf-8").split()
        return f"it finds {found} after {seconds:.1f} s" if found != FOUND[case.outcome] or seconds > LATEST else None
    if case.outcome == "left":
        return f"it takes {seconds:.1f} s to end" if seconds > LATEST_END else None
    if seconds > LATEST or (seconds < DEADLINE) != (case.outcome == "complete"):
        return f"it ends after {seconds:.1f} s"
    file = folder / "out/data.json"
    data = json.loads(file.read_text(encoding="utf-8")) if file.exists() else {}
    candles = case.outcome != "candleless"
    fits = (len(data) == 14 and (folder / "out/popover.png").exists() and data["price"] > 0
            and (data["changePct"] != 0) == (case.outcome != "priceless")  # never with the last close alone
            and bool(data["support"] or data["resistance"]) == candles and len(data["signals"]) == (3 if candles else 0)
            and (data["conclusion"] != "数据加载中…") == candles)
    return None if fits else f"it writes {data}"


def play(case, hosts):
    """Runs the program against a market with these faults; its complaint, its seconds and its MiB."""
    arguments = []
    for endpoint, kind in case.faults:
        if kind in REDIRECTIONS:
            kind = "redirect:" + REDIRECTIONS[kind].format(request=(ENDPOINTS | SEARCHES)[endpoint], **hosts)
        arguments += ["--fault", f"{endpoint}={kind}"]
    environment = {name: value for name, value in os.environ.items()
                   if "proxy" not in name.lower() and not name.endswith("DISPLAY") and name != "QT_QPA_PLATFORM"}
    # A proxy that is not there keeps every request on this machine; a name is then not looked up either.
    if "no such host" not in dict(case.faults).values():
        environment["all_proxy"] = "http://127.0.0.1:1"
    stock = case.faults[0][0].startswith("tencent")
    with tempfile.TemporaryDirectory() as name, ReplayServer(*arguments) as market:
        folder = pathlib.Path(name)
        environment |= {"HOME": name, "XDG_CONFIG_HOME": str(folder / "config")}
        environment["QT_QPA_PLATFORM"] = "offscreen"  # of a snapshot run in any case
        left = case.outcome == "left"
        begin = time.monotonic()
        command = ([BIN / "kestrune-searchprobe", market.address] if case.outcome in FOUND else
                   [BIN / "kestrune-bar", *(() if left else ("--snapshot", folder / "out")), "--market-server",
                    market.address, *(("--market", "A股") if stock else ("--symbol", "BTC"))])
        with (folder / "errors").open("wb") as errors, (folder / "found").open("wb") as found:
            process = subprocess.Popen(command, env=environment, stdout=found, stderr=errors)
        watchdog = threading.Timer(LATEST + 20, process.kill)
        watchdog.start()
        if left:
            time.sleep(6)  # the second round of requests is under way
            begin = time.monotonic()
            process.terminate()
        _, status, used = os.wait4(process.pid, 0)
        watchdog.cancel()
        process.returncode = os.waitstatus_to_exitcode(status)
        seconds = time.monotonic() - begin
        return complaint(case, folder, process, used, seconds), seconds, used.ru_maxrss / 1024


def main():
    everything = sys.argv[1:] == ["all"]
    cases = all_cases() if everything else quick_cases()
    with tempfile.TemporaryDirectory() as name:
        untrusted, expired = (certificate(pathlib.Path(name), *each) for each in (("untrusted", 30), ("expired", 0)))
        with ReplayServer("--tls", *untrusted) as first, ReplayServer("--tls", *expired) as second, \
                concurrent.futures.ThreadPoolExecutor(24 if everything else 8) as pool:  # they mostly wait
            hosts = {"untrusted": first.address, "expired": second.address}
            results = list(pool.map(lambda case: play(case, hosts), cases))
    failures = [(case, result[0]) for case, result in zip(cases, results) if result[0]]
    for case, words in failures:
        print(f"{case.outcome} {case.faults}: {words}")
    print(f"{len(results)} runs, the longest {max(result[1] for result in results):.1f} s, at most "
          f"{max(result[2] for result in results):.0f} MiB resident, {len(failures)} not as they must be")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
