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


def market() -> dict[str, list[bytes]]:
    read = lambda name: (DATA / name).read_bytes()
    gate, binance, okx = read("gate/candlesticks.in.json"), read("binance/klines.in.json"), read("okx/candles.in.json")
    stock, quotes = read("tencent/sh600519-day.in.json"), read("tencent/quotes.gb18030.txt")
    days = stock.replace(b"qfqday", b"day")
    bomb = gzip.compress(bytes(1 << 20), mtime=0)
    return {
        "packed-body": [gzip.compress(gate, mtime=0), zlib.compress(quotes), bomb, gzip.compress(b"", mtime=0), b""],
        "crypto-candles": [gate, gate.replace(b'"', b""), binance, binance.replace(b'"', b""), okx, b"[]",
                           b'{"label":"INVALID_CURRENCY","message":"x"}', b'{"code":-1121,"msg":"Invalid symbol."}',
                           b'{"code":"51001","msg":"Instrument ID does not exist","data":[]}'],
        "crypto-tickers": [b'[{"contract":"BTC_USDT","last":"61234.5","change_percentage":"-2.25"}]', b"[]",
                           b'{"symbol":"BTCUSDT","lastPrice":"61234.50","priceChangePercent":"-2.250"}'],
        "contract-lists": [b'[{"contract":"PEPE_USDT","last":"0.00001","volume_24h_quote":"9"}]',
                           b'[{"symbol":"PEPEUSDT","lastPrice":"0.00001","quoteVolume":"9.5"}]', b"[]"],
        "searches": [b'v_hint="sh~600036~\\u62db\\u5546~zsyh~GP-A^hk~01810~X~x~GP";', b'v_hint="N";', b'v_hint="'],
        "quotes": [quotes, 'v_sh600519="1~名~600519~10";'.encode(), b"v_pv_none_match=\"1\";\n"],
        "stock-candles": [stock, days, days.replace(b"\"day\"", b"\"week\"")],
    }


def settings() -> dict[str, list[bytes]]:
    alert = {"id": "5C9F1E9C-0D7D-4A0B-9A53-0C1B7C8D9E0F", "targetPrice": 61000.5, "above": True, "symbol": "BTC",
             "label": "止盈 61,000.5", "triggered": False}
    alerts = json.dumps([alert, alert | {"lastFiredAt": 1767601800.25}, alert | {"lastFiredAt": None}])
    stored = [{"ks_coin": "BTC", "ks_mini": True, "ks_market": "加密", "ks_alerts": {"utf8": alerts}},
              {"ks_alerts": json.loads(alerts), "ks_disp_maxside": 3e9}, {"ks_alerts": {"base64": "/wA="}},
              {"ks_disp_maxside": -2147483649, "ks_signal_threshold": 1e308},
              {"ks_list_crypto": ["PEPE", "BTC"], "ks_list_hk": ["hk00700", 1], "ks_names": {"hk00700": "x"}}]
    lines = [["--snapshot", "out", "--symbol", "BTC", "--market", "加密", "--timeframe", "4H"],
             ["--market-server", "https://[::1]:8443/prefix//", "--strip"],
             ["--demo", "--market-server", "http://127.0.0.1:1"], ["--help", "--version", ""]]
    texts = ["2.5", "1,234,567.89", " 7 ", "-3", "1e400", "inf", "nan", "0x10", "٣", "９", "+12", "125.0001"]
    return {
        "alerts": [alerts.encode(), b"[]", b"{}", b"null"],
        "preferences": [json.dumps(s).encode() for s in stored] + [b"", b"{}", b"[1]", bytes(40)],
        "command-line": ["\0".join(line).encode() for line in lines],
        "bar-lines": [b'{"schema":1,"text":"ETH  3,456","tooltip":"a\\nb","states":["buy","stale"],"price":1.5,"percentage":7}',
                      b'[{"button":1,"x":1200,"y":5}', b',{"button":5}'],
        "setting-inputs": [text.encode() for text in texts],
    }


def analysis() -> dict[str, list[bytes]]:
    chance = random.Random(1)
    seeds = []
    for count, repeats, price in ((2, 0, 1.5), (60, 0, 61234.5), (220, 0, 0.00001234), (30, 15, 25.0)):
        walk, rows = 128.0, bytearray()
        for _ in range(count):
            walk = min(220.0, max(20.0, walk + chance.gauss(0, 4)))
            close = min(220.0, max(20.0, walk + chance.gauss(0, 3)))
            rows += bytes([int(walk), int(max(walk, close)) + 3, int(min(walk, close)) - 3, int(close), 99])
        for options in (0x82, 0x0E):  # the second one with a tick and an ATR
            values = [128] * (4 if options & 4 == 0 else 5)
            seeds += [struct.pack("<d", price) + bytes([options, choices, *values, 0, repeats]) + rows
                      for choices in (0, 1, 4)]
    special = [float("nan"), float("inf"), 5e-324, 1.7e308, -0.0, 1.0, 2.0]
    wild = b"".join(struct.pack("<d", chance.choice(special)) for _ in range(5 * 40))
    seeds += [struct.pack("<d", p) + b"\2\0\x80\x80\x80\x80\1\0" + wild for p in (1.0, 0.0, float("nan"), 1e308)]
    return {"analysis": seeds}


for target, inputs in (market() | settings() | analysis()).items():
    folder = pathlib.Path(sys.argv[1], target)
    folder.mkdir(parents=True, exist_ok=True)
    for number, content in enumerate(inputs):
        (folder / f"seed-{number}").write_bytes(content)
