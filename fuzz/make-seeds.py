#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the first inputs of every fuzz target, one folder each, from the tests' own answers and made-up data."""
import gzip
import json
import pathlib
import random
import struct
import sys
import zlib

DATA = pathlib.Path(__file__).resolve().parent.parent / "tests" / "data"
OKX_ERROR = b'{"code":"51001","msg":"Instrument ID does not exist","data":[]}'


def market() -> dict[str, list[bytes]]:
    read = lambda name: (DATA / name).read_bytes()
    gate, binance, okx = read("gate/candlesticks.in.json"), read("binance/klines.in.json"), read("okx/candles.in.json")
    stock, quotes = read("tencent/sh600519-day.in.json"), read("tencent/quotes.gb18030.txt")
    plain_days = stock.replace(b"qfqday", b"day")
    bomb = gzip.compress(bytes(1 << 20), mtime=0)
    return {
        "packed-body": [gzip.compress(gate, mtime=0), zlib.compress(quotes), bomb, gzip.compress(b"", mtime=0), b""],
        "gate-candles": [gate, b"[]", b'{"label":"INVALID_CURRENCY","message":"x"}', gate.replace(b'"', b"")],
        "binance-candles": [binance, b'{"code":-1121,"msg":"Invalid symbol."}', binance.replace(b'"', b"")],
        "okx-candles": [okx, OKX_ERROR],
        "gate-ticker": [b'[{"contract":"BTC_USDT","last":"61234.5","change_percentage":"-2.25"}]', b"[]"],
        "binance-ticker": [b'{"symbol":"BTCUSDT","lastPrice":"61234.50","priceChangePercent":"-2.250"}'],
        "quotes": [quotes, 'v_sh600519="1~名~600519~10";'.encode("utf-8"), b"v_pv_none_match=\"1\";\n"],
        "stock-candles": [stock, plain_days, plain_days.replace(b"\"day\"", b"\"week\"")],
    }


def alert(**changes) -> dict:
    record = {"id": "5C9F1E9C-0D7D-4A0B-9A53-0C1B7C8D9E0F", "targetPrice": 61000.5, "above": True,
              "symbol": "BTC", "label": "止盈 61,000.5", "triggered": False}
    return record | changes


def settings() -> dict[str, list[bytes]]:
    alerts = json.dumps([alert(), alert(lastFiredAt=1767601800.25, triggered=True), alert(lastFiredAt=None)],
                        ensure_ascii=False)
    stored = {"ks_coin": "BTC", "ks_mini": True, "ks_signal_threshold": 1.5, "ks_disp_maxside": 3, "ks_market": "加密",
              "ks_alerts": {"utf8": alerts}}
    lines = [["--snapshot", "out", "--symbol", "BTC", "--market", "加密", "--timeframe", "4H"],
             ["--market-server", "https://[::1]:8443/prefix//", "--strip"],
             ["--demo", "--market-server", "http://127.0.0.1:1"], ["--help", "--version", ""]]
    texts = ["2.5", "1,234,567.89", " 7 ", "-3", "1e400", "inf", "nan", "0x10", "٣", "９", "+12", "125.0001"]
    return {
        "alerts": [alerts.encode(), b"[]", b"{}", b"null"],
        "preferences": [json.dumps(stored, indent=4, ensure_ascii=False).encode(), b"", b"{}", b"[1]", b"\x00" * 40,
                        json.dumps({"ks_alerts": {"base64": "/wA="}, "ks_disp_maxside": 3e9}).encode(),
                        json.dumps({"ks_disp_maxside": -2147483649, "ks_signal_threshold": 1e308}).encode()],
        "command-line": ["\0".join(line).encode() for line in lines],
        "setting-inputs": [text.encode() for text in texts],
    }


def analysis() -> dict[str, list[bytes]]:
    chance = random.Random(1)
    seeds: dict[str, list[bytes]] = {"zones": [], "plans": []}
    for count, repeats, price in ((1, 0, 3000.0), (2, 0, 1.5), (60, 0, 61234.5), (220, 0, 0.00001234),
                                  (100, 8, 1700.0), (30, 15, 25.0)):
        walk, rows = 128.0, bytearray()
        for _ in range(count):
            walk = min(220.0, max(20.0, walk + chance.gauss(0, 4)))
            close = min(220.0, max(20.0, walk + chance.gauss(0, 3)))
            rows += bytes([int(walk), int(max(walk, close)) + 3, int(min(walk, close)) - 3, int(close),
                           chance.randrange(200)])
        head = struct.pack("<d", price)
        candles = bytes([0, repeats]) + rows
        seeds["zones"] += [head + b"\0" + candles, head + b"\1" + candles]
        for choices in (0x00, 0x41, 0x44, 0x02):
            seeds["plans"].append(head + bytes([choices, 128, 128] + ([140] if choices & 64 else []))
                                  + bytes([0x86, 130, 128]) + candles)
    special = [float("nan"), float("inf"), -float("inf"), 5e-324, 1.7e308, -0.0, 1.0, 2.0]
    wild = b"".join(struct.pack("<d", chance.choice(special)) for _ in range(5 * 40))
    seeds["zones"] += [struct.pack("<d", p) + b"\0\1\0" + wild for p in (1.0, -1.0, 0.0, float("nan"), 1e308)]
    return seeds


def main() -> None:
    out = pathlib.Path(sys.argv[1])
    for target, inputs in (market() | settings() | analysis()).items():
        folder = out / target
        folder.mkdir(parents=True, exist_ok=True)
        for number, content in enumerate(inputs):
            (folder / f"seed-{number}").write_bytes(content)


if __name__ == "__main__":
    main()
