# SPDX-License-Identifier: MIT
"""Every figure that is measured, and the limit it must keep. The one place to change a limit or add a figure.

Times and memory are judged by their ratio to a yardstick of the same kind that is measured in the same run, so that
a limit means the same on a slow machine, on a quick one and on a loaded one. Yardsticks: a chain of arithmetic, the
JSON library's bare pass over the same bytes, a bare painter on a picture of the same size, the packing of the same
samples, a bare Qt program. Counts have absolute limits.
"""
import dataclasses


@dataclasses.dataclass(frozen=True)
class Figure:
    what: str
    part: str  # which measurement brings it, see bench.py
    key: str  # its name there
    unit: str
    yardstick: str | None  # the name of what it is held against
    limit: float | None  # the most that the ratio may be; without a yardstick, the figure itself

    def result(self, values):
        """The cells of its line in the table, and whether it keeps its limit; `values` holds the part's by key."""
        value, yardstick = values.get(self.key), values.get(self.yardstick)
        ratio = value / yardstick if value is not None and yardstick else None
        judged = ratio if self.yardstick else value
        kept = judged is not None and (self.limit is None or judged <= self.limit)
        return [self.what, text(value, self.unit) or "not measured", text(yardstick, self.unit), text(ratio),
                f"{'ratio ' if self.yardstick else ''}{self.limit:g}" if self.limit else "",
                "pass" if kept and self.limit else "" if kept else "FAIL"], kept


def text(value, unit=""):
    if value is None:
        return ""
    digits = 0 if value >= 100 or value == int(value) else 1 if value >= 10 else 2
    return f"{value:.{digits}f} {unit}".rstrip()


def computed(what, key, limit, yardstick="arithmetic", unit="us"):
    return Figure(what, "benchmarks", key, unit, yardstick, limit)


FIGURES = [
    computed("zones from 320 candles", "zones", 5),
    computed("zones on a price tick, 320 candles", "zonesOnTick", 3.3),
    computed("all indicator readings, 320 candles", "readings", 1.3),
    computed("trade plan on 20 zones, all texts", "plan", 4),
    computed("1 000 alerts of three instruments checked, nothing changes", "alerts/3", 4),
    computed("1 000 alerts of one instrument checked, nothing changes", "alerts/1", 4),
    computed("200 Gate.io candle rows from bytes", "parse/gate", 12, "pass/gate"),
    computed("200 Binance candle rows from bytes", "parse/binance", 12, "pass/binance"),
    computed("200 OKX candle rows from bytes", "parse/okx", 12, "pass/okx"),
    computed("320 stock candle rows from bytes", "parse/stock", 11, "pass/stock"),
    computed("status picture", "picture/status", 4, "painter/status"),
    # Signs whose prices changed are drawn anew with their outline, nine times each.
    computed("neon picture of 8 signs", "picture/neon", 20, "painter/neon"),
    computed("context switches of a neon picture", "picture/neon switches", 0.01, None, ""),
    computed("panel built and filled", "panelConstruction", 28, "painter/panel", "ms"),
    computed("price tick with the panel open, painted", "panelTick/0/process_time", 1.7, "painter/panel", "ms"),
    computed("price tick with panel, settings and market context open", "panelTick/1/process_time", 1.7,
             "painter/panel", "ms"),
    computed("chart of 320 candles with four lines, painted", "chartPaint/0", 1.6, "painter/chart", "ms"),
    computed("price tick with the chart open", "chartPaint/1", 0.8, "painter/chart", "ms"),
    computed("chart opened, painted and closed", "chartOpening", 6, "painter/chart", "ms"),
    computed("price tick with the panel open and 600 instruments listed", "panelTick/2/process_time", 1.7,
             "painter/panel", "ms"),
    computed("encoding the snapshot picture", "encoding", 5.5, "packing", "ms"),
    Figure("snapshot run beyond its deliberate waits of 1.5 s", "snapshot", "time", "ms", "bare time", 7.5),
    Figure("snapshot run, peak memory", "snapshot", "memory", "MiB", "bare memory", 2.3),
    Figure("start to the first status picture", "start", "bar", "ms", "bare", 1.6),
    Figure("switches for a tick on a notifier item, xfce4-panel", "ticks", "xfce", "", None, 8),
    Figure("switches for a tick, wide picture, host reads all at once", "ticks", "all", "", None, 8),
    Figure("switches for a tick, label, host reads each property", "ticks", "each", "", None, 8),
    Figure("from the price to an alert's message on the bus", "notice", "bar", "ms", "bare", 5),
    Figure("memory after a minute, panel hidden", "minute", "strip memory", "MiB", "bare memory", 1.6),
    Figure("memory on Xfce with its settings daemon, against no desktop", "xfce", "XFCE", "MiB", "bare", 1.1),
    Figure("the open chart's own memory at scale 2", "chart", "open", "MiB", None, 6),
    Figure("what is kept of it when the chart is closed", "chart", "closed", "MiB", None, 0.5),
    Figure("a minute in an X11 tray: CPU", "minute", "tray cpu", "ms", "bare cpu", 1.8),
    Figure("a minute as a strip: CPU", "minute", "strip cpu", "ms", "bare cpu", 1.8),
    Figure("a minute in neon mode: CPU", "minute", "neon cpu", "ms", "bare neon cpu", 2),
    Figure("a minute in an X11 tray: voluntary context switches", "minute", "tray switches", "", None, 160),
    Figure("a minute as a strip: voluntary context switches", "minute", "strip switches", "", None, 160),
    Figure("a minute with HTTP and status item faked: voluntary context switches", "minute", "seams switches", "",
           None, 20),
    Figure("requests served in that minute", "minute", "requests", "", None, None),
]
