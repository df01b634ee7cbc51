# SPDX-License-Identifier: MIT
"""Every figure that is measured, and the limit it must keep. The one place to change a limit or add a figure."""
import dataclasses
import statistics


@dataclasses.dataclass(frozen=True)
class Figure:
    what: str
    part: str  # which measurement brings it, see bench.py
    key: str  # its name there
    unit: str
    limit: float | None = None  # the most it may be
    plain: str | None = None  # key of what the ratio is taken against
    ratio_limit: float | None = None  # where both limits are given, keeping one of them is enough


@dataclasses.dataclass(frozen=True)
class Result:
    figure: Figure
    value: float | None
    plain: float | None = None

    @property
    def ratio(self):
        return self.value / self.plain if self.value is not None and self.plain else None

    @property
    def passed(self):
        """Nothing for figures without a limit."""
        checks = [(self.value, self.figure.limit), (self.ratio, self.figure.ratio_limit)]
        checks = [(value, limit) for value, limit in checks if limit is not None]
        if self.value is None:
            return False
        return any(value is not None and value <= limit for value, limit in checks) if checks else None


def us(what, key, limit, plain=None, ratio_limit=None):
    return Figure(what, "benchmarks", key, "us", limit, plain, ratio_limit)


def ms(what, key, limit, plain=None):
    return Figure(what, "benchmarks", key, "ms", limit, plain)


FIGURES = [
    us("zones from 200 candles", "zones/200", 5, "zonesPlain/200"),
    us("zones from 320 candles", "zones/320", 5, "zonesPlain/320"),
    Figure("heap allocations of zones from 200 candles", "allocations", "zones/200", "", 2),
    Figure("heap allocations of zones from 320 candles", "allocations", "zones/320", "", 2),
    us("zones on a price tick, 200 candles", "zonesOnTick/200", 2.5, "zonesPlain/200", 0.12),
    us("zones on a price tick, 320 candles", "zonesOnTick/320", 2.5, "zonesPlain/320", 0.12),
    us("all indicator readings, 320 candles", "readings/320", 4, "readingsPlain/320"),
    us("200 Gate.io candle rows from bytes", "parse/gate", 60, "parse/gatePlain"),
    us("200 Binance candle rows from bytes", "parse/binance", 60, "parse/binancePlain"),
    us("200 OKX candle rows from bytes", "parse/okx", 60, "parse/okxPlain"),
    us("320 stock candle rows from bytes", "parse/stock", 80, "parse/stockPlain"),
    us("trade plan on 20 zones, all texts", "tradePlan, 20 zones", 5, "tradePlan, 20 zones, plain"),
    us("1 000 alerts of three instruments checked, nothing changes", "evaluateAlerts, unchanged/1000", 25),
    us("1 000 alerts of one instrument checked, nothing changes",
       "evaluateAlerts, unchanged, one instrument/1000", 25),
    Figure("heap allocations of checking 1 000 alerts", "allocations", "alerts", "", 0),
    us("status picture", "statusPicture", 40),
    ms("neon picture of 8 signs", "neonPicture", 0.4),
    Figure("context switches of a neon picture", "benchmarks", "neonPicture switches", "", 0.01),
    ms("panel built and filled", "panelConstruction", 25),
    ms("price tick with the panel open, painted", "panelTick/0/process_time", 1.5),
    ms("price tick with panel, settings and market context open", "panelTick/1/process_time", 1.5),
    ms("encoding the snapshot picture", "snapshotPng", 20, "snapshotPngPlain"),
    Figure("snapshot run (1.5 s of it are deliberate waits)", "snapshot", "seconds", "s", 1.65),
    Figure("snapshot run, peak memory", "snapshot", "memory", "MiB", 64),
    Figure("start to first status picture, against a bare Qt program", "start", "bar", "ms", None, "bare", 1.6),
    Figure("switches for a tick on a notifier item, xfce4-panel", "ticks", "xfce", "", 8),
    Figure("switches for a tick, wide picture, host reads all at once", "ticks", "all", "", 8),
    Figure("switches for a tick, label, host reads each property", "ticks", "each", "", 8),
    Figure("memory after a minute, panel hidden, against a bare Qt program", "minute", "memory", "MiB", None,
           "bare memory", 1.6),
    Figure("a minute in an X11 tray: CPU", "minute", "tray cpu", "ms", 25),
    Figure("a minute in an X11 tray: voluntary context switches", "minute", "tray switches", "", 160),
    Figure("a minute as a strip: CPU", "minute", "strip cpu", "ms", 25),
    Figure("a minute as a strip: voluntary context switches", "minute", "strip switches", "", 160),
    Figure("requests served in that minute", "minute", "requests", ""),
    Figure("a minute with HTTP and status item faked: voluntary context switches", "minute", "seams switches", "", 20),
    Figure("a minute of neon mode: share of a core", "minute", "neon share", "%", 1),
    # Only where these libraries are installed.
    us("all indicator readings, against five indicators of TA-Lib", "readings/320", None, "taLib"),
    Figure("largest relative difference to TA-Lib", "benchmarks", "taLib difference", "", 1e-9),
    us("all indicator readings, against five indicators of Tulip", "readings/320", None, "tulip"),
    Figure("largest relative difference to Tulip", "benchmarks", "tulip difference", "", 1e-9),
]
OPTIONAL = {"taLib": "TA-Lib", "tulip": "Tulip"}
PARTS = ["benchmarks", "allocations", "snapshot", "start", "ticks", "minute"]


def results(figures, measured):
    """One result for each figure; `measured` holds values by part and key."""
    def value(figure, key):
        return measured.get(figure.part, {}).get(key)

    return [Result(figure, value(figure, figure.key), value(figure, figure.plain) if figure.plain else None)
            for figure in figures]


def number(value, unit=""):
    if value is None:
        return ""
    if value and value < 0.001:
        text = f"{value:.0e}"
    elif value >= 100 or value == int(value):
        text = f"{value:.0f}"
    else:
        text = f"{value:.2f}" if value < 10 else f"{value:.1f}"
    return f"{text} {unit}".rstrip()


def limit_text(figure):
    texts = [number(figure.limit, figure.unit)] if figure.limit is not None else []
    if figure.ratio_limit is not None:
        texts.append(f"ratio {figure.ratio_limit:g}")
    return " or ".join(texts)


def row(result):
    verdict = {True: "pass", False: "FAIL", None: ""}[result.passed]
    return [result.figure.what, number(result.value, result.figure.unit) or "not measured", limit_text(result.figure),
            number(result.plain, result.figure.unit), number(result.ratio), verdict]


def table(rows, markdown):
    heading = ["What", "Measured", "Limit", "Plain", "Ratio", ""]
    if markdown:
        lines = [heading, ["---"] * len(heading), *rows]
        return "\n".join("| " + " | ".join(cells) + " |" for cells in lines)
    widths = [max(len(cells[i]) for cells in [heading, *rows]) for i in range(len(heading))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(cells, widths)).rstrip()
                     for cells in [heading, *rows])


def median(values):
    return statistics.median(values)
