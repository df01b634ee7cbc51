# SPDX-License-Identifier: MIT
"""What the market server answers, in each source's layout: the simulated market, and candles from files."""
import collections
import datetime
import json
import pathlib
import re
import tempfile
import time
import unittest

from replayserver import ReplayServer

COINS = "ETH BTC SOL BNB XRP DOGE ADA AVAX LINK TON".split()
SHARES = ("sh600519 sz300750 sh601318 sz000001 sh600036 sz000858 sh601899 sz002594 sh600900 sz300059 sz000651 sz000333 "
          "sh600276").split()
HONGKONG = "hk00700 hk09988 hk03690 hk01810 hk00005 hk00939 hk01299 hk09618 hk02318 hk01024".split()
HOUR = 3600 * 1000
DAY = 24 * HOUR
# A Wednesday, 10:15:07 in China: exchanges open, no candle of any interval just closed.
INSTANT = "2026-08-19T02:15:07Z"

Bar = collections.namedtuple("Bar", "ts o h l c v")  # `ts` in milliseconds, of stocks the date as text


def utc(text):
    return int(datetime.datetime.fromisoformat(text).timestamp() * 1000)


def bars(rows, order, unit=1):
    """Rows with the time first and texts at the positions of open, high, low, close, volume."""
    return [Bar(int(row[0]) * unit if unit else row[0], *(float(row[at]) for at in order)) for row in rows]


def gate(server, coin, interval, limit):
    target = f"/api/v4/spot/candlesticks?currency_pair={coin}_USDT&interval={interval}&limit={limit}"
    return bars(json.loads(server.get(target)), (5, 3, 4, 2, 6), 1000)


def binance(server, coin, interval, limit):
    target = f"/api/v3/klines?symbol={coin}USDT&interval={interval}&limit={limit}"
    return bars(json.loads(server.get(target)), (1, 2, 3, 4, 5))


def okx(server, coin, bar, limit):
    target = f"/api/v5/market/candles?instId={coin}-USDT-SWAP&bar={bar}&limit={limit}"
    return bars(json.loads(server.get(target))["data"], (1, 2, 3, 4, 6))[::-1]


def stock(server, code, period, count):
    answer = json.loads(server.get(f"/appstock/app/fqkline/get?param={code},{period},,,{count},qfq"))
    # Hong Kong candles come under the bare period, A-shares under the adjusted one.
    return bars(answer["data"][code][period if code.startswith("hk") else "qfq" + period], (1, 3, 4, 2, 5), 0)


def quote(server, code):
    text = server.get("/q=" + code).decode("gb18030")
    return re.fullmatch(f'v_{code}="(.*)";\n', text)[1].split("~")


def gate_ticker(server, coin):
    return json.loads(server.get(f"/api/v4/futures/usdt/tickers?contract={coin}_USDT"))[0]


def binance_ticker(server, coin):
    answer = json.loads(server.get(f"/fapi/v1/ticker/24hr?symbol={coin}USDT"))
    return {key: float(value) if isinstance(value, str) and key != "symbol" else value for key, value in answer.items()}


def joined(some):
    return Bar(some[0].ts, some[0].o, max(bar.h for bar in some), min(bar.l for bar in some), some[-1].c,
               sum(bar.v for bar in some))


class MarketCase(unittest.TestCase):
    def serve(self, *arguments):
        return self.enterContext(ReplayServer(*arguments))

    def assert_same_trading(self, some, others):
        """The same prices, and volumes but for rounding."""
        self.assertEqual([bar[1:5] for bar in some], [bar[1:5] for bar in others])
        for one, other in zip(some, others):
            self.assertAlmostEqual(one.v, other.v, delta=1e-6 * (1 + one.v))

    def assert_forms(self, early, late):
        """The same candle, longer in the making: no narrower, more volume."""
        self.assertTrue(early.o == late.o and early.h <= late.h and early.l >= late.l and early.v < late.v)


class Simulated(MarketCase):
    @classmethod
    def setUpClass(cls):
        cls.server = cls.enterClassContext(ReplayServer("--clock", INSTANT))  # no question changes its answers

    def test_serves_every_instrument(self):
        for code in COINS + SHARES + HONGKONG:
            series = binance(self.server, code, "1m", 200) if code in COINS else stock(self.server, code, "day", 320)
            with self.subTest(code):
                self.assertEqual(len(series), 200 if code in COINS else 320)
                self.assertEqual(sorted({bar.ts for bar in series}), [bar.ts for bar in series])
                for bar in series:
                    self.assertTrue(0 < bar.l <= min(bar.o, bar.c) <= max(bar.o, bar.c) <= bar.h and bar.v >= 0)
        for code in SHARES + HONGKONG:
            fields = quote(self.server, code)
            self.assertEqual((len(fields), fields[0], fields[2]),
                             (78 if code < "s" else 88, {"hk": "100", "sh": "1", "sz": "51"}[code[:2]], code[2:]))
            self.assertRegex(fields[1], "[\u4e00-\u9fff]")

    def test_writes_numbers_as_each_source_does(self):
        # One row of each source, its shape taken from captured answers.
        for target, pattern in (
                ("/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1h&limit=1",
                 r'\[\["\d{10}","\d+\.\d{8}"(,"\d+(\.\d{1,8})?"){4},"\d+\.\d{8}","false"\]\]'),
                ("/api/v3/klines?symbol=BTCUSDT&interval=1h&limit=1",
                 r'\[\[\d{13}(,"\d+\.\d{8}"){5},\d{8}99999,"\d+\.\d{8}",\d+(,"\d+\.\d{8}"){2},"0"\]\]'),
                ("/api/v5/market/candles?instId=BTC-USDT-SWAP&bar=1H&limit=1",
                 r'\{"code":"0","msg":"","data":\[\["\d{13}"(,"\d+(\.\d+)?"){7},"0"\]\]\}'),
                ("/appstock/app/fqkline/get?param=sh600519,day,,,1,qfq", r'\{"code":0,"msg":"","data":\{"sh600519":'
                 r'\{"qfqday":\[\["2026-08-19"(,"\d+\.\d{3}"){4},"\d+\.000"\]\],.*'),
                ("/appstock/app/fqkline/get?param=hk00005,week,,,1,qfq", r'\{"code":0,"msg":"","data":\{"hk00005":'
                 r'\{"week":\[\["2026-08-19"(,"\d+\.\d{2,3}"){4},"\d+\.000"\]\],.*'),
                ("/q=hk00700",
                 r'v_hk00700="100~[^;]*~00700~\d+\.\d{3}~[^;]*~2026/08/19 10:15:07~[^;]*~HKD~1~50";\n'),
                ("/q=sz000001", r'v_sz000001="51~[^;]*~000001~\d+\.\d\d~[^;]*~20260819101507~[^;]*";\n')):
            self.assertRegex(self.server.get(target).decode("gb18030"), f"\\A{pattern}\\Z")
        # Chinese letters and slashes are escaped in the candles' quote block, which reads as the quote does.
        body = self.server.get("/appstock/app/fqkline/get?param=hk00700,day,,,1,qfq")
        self.assertIn(b"\\u817e\\u8baf", body)
        self.assertIn(b"2026\\/08\\/19", body)
        self.assertEqual(json.loads(body)["data"]["hk00700"]["qt"]["hk00700"], quote(self.server, "hk00700"))

    def test_lists_and_finds_instruments(self):
        listed = json.loads(self.server.get("/api/v4/futures/usdt/tickers"))
        self.assertEqual([each["contract"][:-5] for each in listed],
                         [each["symbol"][:-4] for each in json.loads(self.server.get("/fapi/v1/ticker/24hr"))])
        self.assertLess(set(COINS), {each["contract"][:-5] for each in listed})
        for text, found in (("%e6%8b%9b%e5%95%86", r"sh~600036~\\u62db\\u5546\\u94f6\\u884c~zsyh~GP-A"), ("xmj", ".*~xmjtw~GP"),
                            ("HS300", ".*~ETF\\^sh~000300~.*~ZS"), ("00700", "hk~00700~.*~GP"), ("zzz", "N"), ("", "N")):
            body = self.server.get(f"/s3/?v=2&q={text}&t=all").decode("gb18030")
            self.assertRegex(body, f'\\Av_hint="{found}";\n\\Z')
        # A fund goes by tenths of a cent, also at its limits; an index has none.
        self.assertRegex(" ".join(quote(self.server, "sh510300")[at] for at in (3, 4, 47, 48)), r"\A(\d\.\d{3} ?){4}\Z")
        self.assertEqual(quote(self.server, "sh000300")[47:49], ["", ""])

    def test_gives_the_rows_asked_for(self):
        for reader, arguments, count in ((gate, ("BTC", "4h", 200), 200), (gate, ("BTC", "1m", 1000), 1000),
                                         (binance, ("BTC", "1h", 5000), 1000), (okx, ("BTC", "1H", 5000), 300),
                                         (stock, ("sh600519", "week", 320), 320)):
            self.assertEqual(len(reader(self.server, *arguments)), count)
        # Only the last candle is open.
        rows = json.loads(self.server.get("/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1h&limit=30"))
        self.assertEqual([row[7] for row in rows], ["true"] * 29 + ["false"])

    def test_tickers_are_the_close_of_every_forming_candle(self):
        for coin in COINS:
            last = float(gate_ticker(self.server, coin)["last"])
            closes = {binance_ticker(self.server, coin)["lastPrice"]}
            for reader, intervals in ((gate, "1m 5m 15m 1h 4h 1d"), (binance, "1m 1h 1d 1w 1M"),
                                      (okx, "1m 1H 4H 1D 1W 1M 1Dutc")):
                for interval in intervals.split():
                    bar = reader(self.server, coin, interval, 2)[-1]
                    closes.add(bar.c)
                    self.assertLessEqual(bar.ts, utc(INSTANT))
            self.assertEqual(closes, {last})
        for code in SHARES + HONGKONG:
            fields = quote(self.server, code)
            before, today = stock(self.server, code, "day", 2)
            self.assertEqual([float(fields[at]) for at in (3, 4, 5, 6, 33, 34)],
                             [today.c, before.c, today.o, today.v, today.h, today.l])
            self.assertEqual(today.ts, "2026-08-19")
            for period in ("week", "month"):
                bar = stock(self.server, code, period, 1)[-1]
                self.assertEqual((bar.ts, bar.c), (today.ts, today.c))

    def test_stocks_keep_their_hours(self):
        for name, clock, code, day, at in (
                ("before the opening yesterday's", "2026-08-19T01:29:59Z", "sh600519", "2026-08-18", "20260818150000"),
                ("the first second of a day", "2026-08-19T01:30:00Z", "sh600519", "2026-08-19", "20260819093000"),
                ("Hong Kong closes later", "2026-08-19T07:30:00Z", "hk00700", "2026-08-19", "2026/08/19 15:30:00"),
                ("the weekend shows Friday", "2026-08-23T04:00:00Z", "hk00700", "2026-08-21", "2026/08/21 16:00:00"),
                ("midnight in China, not UTC", "2026-08-18T17:00:00Z", "sh600519", "2026-08-18", "20260818150000")):
            with self.subTest(name):
                server = self.serve("--clock", clock)
                before, last = stock(server, code, "day", 2)
                fields = quote(server, code)
                self.assertEqual((fields[30], float(fields[3]), float(fields[4])), (at, last.c, before.c))
                self.assertEqual(last.ts, day)

    def test_refuses_as_the_sources_do(self):
        for name, target, status, body in (
                ("Gate knows no such coin", "/api/v4/spot/candlesticks?currency_pair=NOTACOIN_USDT&interval=1h", 400,
                 '{"label":"INVALID_CURRENCY","message":"Invalid currency NOTACOIN"}'),
                ("Gate bounds its rows", "/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1h&limit=1001", 400,
                 '{"label":"INVALID_PARAM_VALUE","message":"Candlestick range too broad. Maximum 1000 data points are '
                 'allowed per request"}'),
                ("a stock is no contract", "/api/v4/futures/usdt/tickers?contract=sh600519_USDT", 400,
                 '{"label":"CONTRACT_NOT_FOUND"}'),
                ("Binance knows no such symbol", "/api/v3/klines?symbol=NOTACOINUSDT&interval=1h", 400,
                 '{"code":-1121,"msg":"Invalid symbol."}'),
                ("Binance has no such interval", "/api/v3/klines?symbol=BTCUSDT&interval=1H&limit=30", 400,
                 '{"code":-1120,"msg":"Invalid interval."}'),
                ("OKX answers politely that there is no such instrument",
                 "/api/v5/market/candles?instId=NOTACOIN-USDT-SWAP&bar=1H", 200,
                 '{"code":"51001","msg":"Instrument ID, Instrument ID code, or Spread ID doesn\'t exist.","data":[]}'),
                ("no stock of the quoted ones is known", "/q=sh999999,BTC", 200, 'v_pv_none_match="1";\n'),
                ("candles of no period", "/appstock/app/fqkline/get?param=sh600519,hour,,,30,qfq", 200,
                 '{"code":1,"msg":"bad params"}')):
            with self.subTest(name):
                reply = self.server.reply(target)
                self.assertEqual((reply.status, reply.body.decode()), (status, body))
        # Unknown codes beside known ones are just missing, and have no candles.
        self.assertEqual(self.server.get("/q=sh999999,sh600519,"), self.server.get("/q=sh600519"))
        self.assertTrue(self.server.get("/appstock/app/fqkline/get?param=sh999999,day,,,30,qfq").startswith(
            b'{"code":0,"msg":"","data":{"sh999999":{"day":[],"qt":{"sh999999":[],'))

    def test_equal_runs_are_equal_byte_for_byte(self):
        targets = ["/q=" + ",".join(SHARES + HONGKONG), "/api/v4/futures/usdt/tickers", "/fapi/v1/ticker/24hr",
                   "/appstock/app/fqkline/get?param=sz300750,month,,,320,qfq"]
        for coin in COINS:
            targets += [f"/api/v4/spot/candlesticks?currency_pair={coin}_USDT&interval=4h&limit=200",
                        f"/api/v5/market/candles?instId={coin}-USDT-SWAP&bar=1D&limit=100",
                        f"/api/v3/klines?symbol={coin}USDT&interval=1m&limit=160"]
        one = self.serve("--clock", INSTANT, "--seed", 1)
        other = self.serve("--clock", INSTANT, "--seed", 2)
        for target in reversed(targets):  # in another order, and after other questions: nothing remembers
            self.assertEqual(one.get(target), self.server.get(target))
            self.assertNotEqual(one.get(target), other.get(target))

    def test_closed_candles_never_change(self):
        later = self.serve("--clock", "2026-08-21T09:00:00Z")
        for interval in ("1h", "1d"):
            before = gate(self.server, "ETH", interval, 100)
            after = [bar for bar in gate(later, "ETH", interval, 200) if bar.ts >= before[0].ts][:100]
            self.assert_same_trading(before[:-1], after[:-1])
            self.assert_forms(before[-1], after[-1])

    def test_prices_move_with_the_clock(self):
        fast = self.serve("--clock", INSTANT, "--speed", 3600)
        before = gate(fast, "BTC", "1h", 1)[-1]
        time.sleep(1.2)
        after = gate(fast, "BTC", "1h", 1)[-1]
        self.assertTrue(after.ts > before.ts and after[1:] != before[1:])
        # Without a clock of its own the market lives now.
        newest = gate(self.serve(), "BTC", "1m", 30)[-1].ts
        self.assertTrue(newest - 5000 <= time.time() * 1000 < newest + 90 * 1000)


def made(start, step, count, level):
    """Candles around a level, each different from the others."""
    series, price = [], level
    for i in range(count):
        close = level + ((i * 7) % 11 - 5) * level / 1000
        high, low = max(price, close) + 3.25, min(price, close) - 2.5
        series.append(Bar(utc(start) + i * step, price, high, low, close, 100.0 + i))
        price = close
    return series


class Recorded(MarketCase):
    """Candles from files written here."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def write(self, name, series):
        lines = ["ts_ms,o,h,l,c,v"] + [",".join(format(value, ".15g") for value in bar) for bar in series]
        (self.folder / name).write_text("\n".join(lines) + "\n", encoding="ascii")

    def replay(self, clock="2030-01-01T00:00:00Z", *more):
        return self.serve("--history", self.folder, "--clock", clock, *more)

    def assert_series(self, served, expected):
        self.assertEqual([bar.ts for bar in served], [bar.ts for bar in expected])
        self.assert_same_trading(served, expected)

    def test_a_file_of_the_wanted_interval_wins(self):
        # The days tell another story than the hours; each interval is served from its own file, and what has none,
        # from the finest.
        hours = made("2026-01-05T00:00:00Z", HOUR, 72, 50000)
        days = made("2026-01-01T00:00:00Z", DAY, 7, 40000)
        self.write("BTCUSDT_1h_a.csv", hours)
        self.write("BTCUSDT_1d_b.csv", days)
        server = self.replay()
        # The newest day is the hours' one, so that it closes where the ticker stands.
        self.assert_series(binance(server, "BTC", "1d", 1000), days[:-1] + [joined(hours[48:])])
        self.assertEqual(binance_ticker(server, "BTC")["lastPrice"], hours[-1].c)
        self.assert_series(binance(server, "BTC", "1h", 72), hours)
        self.assert_series(binance(server, "BTC", "4h", 18), [joined(hours[i:i + 4]) for i in range(0, 72, 4)])

    def test_fine_files_continue_coarse_ones(self):
        # The day file ends with a day that was not over when it was written; the hours go on.
        days = made("2026-01-01T00:00:00Z", DAY, 5, 50000)
        hours = made("2026-01-05T00:00:00Z", HOUR, 31, days[-1].o)
        self.write("BTCUSDT_1d_x.csv", days)
        self.write("BTCUSDT_1h_x.csv", hours)
        # Hours that end within the last day stand for it too.
        self.write("ETHUSDT_1d_x.csv", days)
        self.write("ETHUSDT_1h_x.csv", hours[:10])
        server = self.replay()
        self.assert_series(binance(server, "ETH", "1d", 10), days[:4] + [joined(hours[:10])])
        self.assert_series(binance(server, "BTC", "1d", 10), days[:4] + [joined(hours[:24]), joined(hours[24:])])

    def test_stocks_are_grouped_by_trading_weeks_and_months(self):
        # Midnights in China from Monday 2026-07-20 on; Tuesday the 28th is missing.
        days = [bar for i, bar in enumerate(made("2026-07-19T16:00:00Z", DAY, 16, 1300)) if i % 7 < 5 and i != 8]
        self.write("sh600519_1d_x.csv", days)
        server = self.replay()
        self.assertEqual(len(stock(server, "sh600519", "day", 320)), 11)
        for period, groups in (("week", (("2026-07-24", 0, 5), ("2026-07-31", 5, 9), ("2026-08-04", 9, 11))),
                               ("month", (("2026-07-31", 0, 9), ("2026-08-04", 9, 11)))):
            served = stock(server, "sh600519", period, 320)
            expected = [joined(days[first:last]) for _, first, last in groups]
            self.assertEqual([bar.ts for bar in served], [key for key, _, _ in groups])
            self.assertEqual([bar[1:5] for bar in served], [bar[1:5] for bar in expected])

    def test_shares_count_lots_and_leave_out_idle_days(self):
        self.write("sh600519_1d.csv", [Bar(1784476800000, 1300, 1310, 1290, 1305.5, 5512752),  # Monday 2026-07-20
                                       Bar(1784563200000, 1305.5, 1305.5, 1305.5, 1305.5, 0),  # suspended
                                       Bar(1784649600000, 1306, 1320.12345, 1301, 1318.25, 4000049)])
        server = self.replay()
        self.assertEqual(stock(server, "sh600519", "day", 320),
                         [Bar("2026-07-20", 1300, 1310, 1290, 1305.5, 55128),
                          Bar("2026-07-22", 1306, 1320.123, 1301, 1318.25, 40000)])
        fields = quote(server, "sh600519")
        self.assertEqual([float(fields[at]) for at in (3, 4, 33)], [1318.25, 1305.5, 1320.123])

    def test_skips_malformed_lines_with_one_warning(self):
        days = made("2026-01-01T00:00:00Z", DAY, 40, 50000)
        self.write("BTCUSDT_1d_x.csv", days)
        last = days[-1].ts + DAY
        malformed = ["words", "-1,1,2,1,2,3", f"{days[-1].ts},1,2,1,2,3", "9" * 20 + ",1,2,1,2,3", "\0\xff\xfe"]
        malformed += [f"{last},{rest}" for rest in ("1,2,1,2,3,4", "1,nan,1,2,3", "1,1e999,1,2,3", "1, 2,1,2,3",
                                                    "2,1,1,2,3", "1,2,1.5,2,3", "1,2,1,2,-3")]
        with (self.folder / "BTCUSDT_1d_x.csv").open("ab") as file:
            file.write("\r\n".join(malformed).encode("latin-1"))
        (self.folder / "BTCUSDT_weird.csv").write_text("not a file of ours", encoding="ascii")
        (self.folder / "ETHUSDT_1d_empty.csv").touch()
        server = self.replay()
        self.assert_series(binance(server, "BTC", "1d", 1000), days)
        self.assertEqual(len(binance(server, "ETH", "1d", 30)), 30)
        self.assertEqual(server.complaints(), "kestrune-replay: BTCUSDT_1d_x.csv: 12 malformed lines skipped, "
                         "the first is line 42\n")

    def test_hides_what_comes_after_the_clock(self):
        days = made("2026-01-01T00:00:00Z", DAY, 60, 50000)
        self.write("BTCUSDT_1d_x.csv", days)
        server = self.replay("2026-02-10T06:30:00Z")
        served = binance(server, "BTC", "1d", 1000)
        self.assert_series(served[:-1], days[:40])
        self.assert_forms(served[40], days[40])
        self.assertEqual({served[40].c, binance(server, "BTC", "1m", 1)[0].c},
                         {binance_ticker(server, "BTC")["lastPrice"]})
        # Before the recording there is no such market.
        early = self.replay("2025-06-01T00:00:00Z")
        self.assertEqual(early.reply("/fapi/v1/ticker/24hr?symbol=BTCUSDT").status, 400)
