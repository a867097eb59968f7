"""Lots: the figures of many units of one panel, which add up.

    >>> from backlight_nits import Panel, lot
    >>> summary = lot.Summary(Panel("samples/backlight_calib_oled_phone.xml"))
    >>> summary.add(Panel("samples/backlight_calib_oled_phone.xml"))
    >>> summary.tables["standard_100"].nits.means[-1]
    478.5

A unit is one calibration file. Parts of a lot, merged in any order, give the figures of the whole one: counts, sums,
extremes and sketches exactly, the scatter to about 1e-14 of its value. Memory grows with levels, not with units.
`blnits lot --partial` writes and reads the same JSON.

Threads: one thread at a time may use a Summary.
"""

from __future__ import annotations

import functools
import json
import math
import os
import pathlib
import sys
from collections import Counter
from typing import Any, Callable, Dict, Iterable, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np

from . import _gsdf
from ._arrays import Array, Floats, Integers
from ._errors import CalibrationError
from ._figures import BUCKETS, SKETCH_ERROR, ExactSums, Extremes, Moments, Sketches, of_rank
from ._foreign import Foreign
from ._panel import Panel, Path

__all__ = [
    "Distributions",
    "Outlier",
    "Outliers",
    "Rejections",
    "SKETCH_ERROR",
    "Summary",
    "TABLES",
    "Table",
    "distributed",
]

#: The keys of the measured tables, each with its coverage in per cent and whether it is high brightness.
TABLES = {"standard_10": (10, False), "standard_100": (100, False), "hbm_10": (10, True), "hbm_100": (100, True)}

_USUAL_LEVELS = 256
_MOST_NITS = 1e9  # Far above what any panel has, sums would overflow.
_MOST_TOLD = 100  # Rejected files.
_NORMAL = 1.4826  # Of a normal distribution: standard deviation / median absolute deviation.
_SCHEMA = {"name": "lot_partial", "version": 1}


class Distributions(NamedTuple):
    """The distribution of luminances or JND indices over the units, at each level. NaN: not defined."""

    counts: Integers  #: Units that have the quantity. Outside 0.05 to 4,000 nits there is no JND index.
    means: Floats
    deviations: Floats  #: Standard deviations; NaN for fewer than two units.
    least: Floats
    greatest: Floats
    percentiles: Callable[[float], Floats]  #: Takes a share, 0 to 1. Within SKETCH_ERROR of the luminance of that rank.


class Table(NamedTuple):
    """The figures of one measured table. One element for each level."""

    levels: Integers  #: Client levels.
    nits: Distributions
    jnd: Distributions  #: JND indices of the grayscale standard display function.


class Outlier(NamedTuple):
    """A unit that differs from the lot."""

    unit: str
    table: str  #: A key of TABLES: where its score is greatest.
    level: int
    nits: float
    score: float  #: Robust z-score: distance from the median / robust standard deviation. Below 0: darker.


class Outliers(NamedTuple):
    units: List[Outlier]  #: The greatest score first.
    complete: bool  #: False: more units may be out, because a lot remembers only the most extreme ones of each level.


class Rejections:
    """The files that are not part of the figures."""

    def __init__(self) -> None:
        self.count = 0
        self.first: Dict[str, str] = {}  #: The reasons of the first 100, by the bytes of their names.

    def add(self, file: str, reason: str) -> None:
        self.count += 1
        self.first.setdefault(file, reason)
        self.first = {name: self.first[name] for name in sorted(self.first, key=os.fsencode)[:_MOST_TOLD]}

    def merge(self, other: Rejections) -> None:
        count = self.count + other.count
        for file, reason in other.first.items():
            self.add(file, reason)
        self.count = count


class _Shape(NamedTuple):
    """What all units of a lot have in common."""

    range: Tuple[int, int, int]
    linear_levels: int
    levels: Tuple[Tuple[int, ...], ...]  # Of each table.


class Summary:
    """The figures of a lot."""

    def __init__(self, panel: Panel, levels: Optional[Array] = None) -> None:
        """An empty lot. Its units must have the panel's range and as many linearized levels.

        levels: the client levels at which units are compared, for all four tables; None: those at which the panel was
            measured, thinned to 256 for each table.

        Raises ValueError for a level that is no client level; RefusedError if the device refuses the linear table.
        """
        self._reset(_shape_of(panel, levels))

    def _reset(self, shape: _Shape) -> None:
        self._shape = shape
        starts = np.cumsum([0, *map(len, shape.levels)])
        self._places = {key: slice(starts[i], starts[i + 1]) for i, key in enumerate(TABLES)}
        columns = int(starts[-1])
        self.units = 0  #: How many units the figures have.
        self.rejected = Rejections()  #: Files that are not part of the figures.
        self._single = ExactSums(2)  # Gamma and threshold.
        self._panel_levels: Integers = np.zeros(shape.linear_levels, np.int64)
        self._nits = Moments(columns)
        self._jnd = Moments(columns)
        self._least: Floats = np.full(columns, math.inf)
        self._greatest: Floats = np.full(columns, -math.inf)
        self._sketches = Sketches(columns)
        self._extremes = Extremes(columns)

    def empty(self) -> Summary:
        """A lot of the same shape without units."""
        summary = Summary.__new__(Summary)
        summary._reset(self._shape)
        return summary

    def add(self, panel: Panel, name: Optional[str] = None) -> None:
        """Adds a unit. name: how outliers are named; None: the panel's file.

        Raises ValueError with the reason if the unit does not fit the lot; then nothing changes.
        """
        unit = panel.file if name is None else name
        numbers, panel_levels, nits = self._read(panel)
        jnd = _gsdf.jnd_of(nits)
        self.units += 1
        self._single.add(numbers)
        self._panel_levels += panel_levels
        self._nits.add(nits, np.ones(nits.shape, np.bool_))
        self._jnd.add(jnd, ~np.isnan(jnd))
        np.minimum(self._least, nits, out=self._least)
        np.maximum(self._greatest, nits, out=self._greatest)
        self._sketches.add(nits)
        self._extremes.add(nits, unit)

    def reject(self, file: str, reason: str) -> None:
        """Counts a file that is not part of the figures."""
        self.rejected.add(file, reason)

    def merge(self, other: Summary) -> Summary:
        """Adds the figures of another part of the lot, not this one itself, and returns this one.

        Raises ValueError if the parts have other ranges, linear tables or levels; then nothing changes.
        """
        if self._shape != other._shape:
            what = [name for name, a, b in zip(_Shape._fields, self._shape, other._shape) if a != b]
            raise ValueError(f"the parts of a lot must be alike, but differ in: {', '.join(what)}")
        self.units += other.units
        self.rejected.merge(other.rejected)
        self._single.merge(other._single)
        self._panel_levels += other._panel_levels
        self._nits.merge(other._nits)
        self._jnd.merge(other._jnd)
        np.minimum(self._least, other._least, out=self._least)
        np.maximum(self._greatest, other._greatest, out=self._greatest)
        self._sketches.merge(other._sketches)
        self._extremes.merge(other._extremes)
        return self

    @property
    def tables(self) -> Dict[str, Table]:
        """The figures of each measured table, by its key, "standard_10" and so on. Each access computes them anew."""
        distributions = self._sketches.distributions()
        nits, jnd = self._nits, self._jnd
        of_nits = nits.means(), nits.deviations()
        of_jnd = jnd.means(), jnd.deviations()
        least, greatest = (np.where(np.isfinite(end), end, math.nan) for end in (self._least, self._greatest))
        tables = {}
        for (key, place), levels in zip(self._places.items(), self._shape.levels):
            percentiles = functools.partial(_percentiles, distributions[place], least[place], greatest[place])
            of_percentiles = functools.partial(_jnd_percentiles, percentiles)
            tables[key] = Table(
                np.array(levels, np.int64),
                Distributions(
                    nits.counts[place],
                    of_nits[0][place],
                    of_nits[1][place],
                    least[place],
                    greatest[place],
                    percentiles,
                ),
                Distributions(
                    jnd.counts[place],
                    of_jnd[0][place],
                    of_jnd[1][place],
                    _gsdf.jnd_of(least[place]),
                    _gsdf.jnd_of(greatest[place]),
                    of_percentiles,
                ),
            )
        return tables

    def outliers(self, threshold: float = 5.0) -> Outliers:
        """The units whose score is above `threshold` in magnitude at any level of any table, each with its greatest."""
        worst: Dict[str, Outlier] = {}
        complete = True
        sides = self._extremes.lists(0), self._extremes.lists(1)
        distributions = self._sketches.distributions()
        for key, table in self.tables.items():
            medians = table.nits.percentiles(0.5)
            for column, level, median in zip(range(self._places[key].start, len(sides[0])), table.levels, medians):
                deviation = _robust_deviation(distributions[column], median) or math.inf
                for side in sides:
                    outliers = [
                        Outlier(unit, key, int(level), nits, (nits - float(median)) / deviation)
                        for nits, unit in side[column]
                    ]
                    out = [outlier for outlier in outliers if abs(outlier.score) > threshold]
                    complete = complete and len(out) < Extremes.MOST
                    for outlier in out:
                        if outlier.unit not in worst or abs(outlier.score) > abs(worst[outlier.unit].score):
                            worst[outlier.unit] = outlier
        order = sorted(worst.values(), key=lambda outlier: (-abs(outlier.score), os.fsencode(outlier.unit)))
        return Outliers(order, complete)

    def to_json(self) -> str:
        """The figures as a JSON object on one line: a partial result, which `blnits lot` reads, too."""
        darkest, brightest = self._extremes.lists(0), self._extremes.lists(1)
        names = sorted({name for units in darkest + brightest for _, name in units}, key=os.fsencode)
        places = {name: place for place, name in enumerate(names)}
        listed = [
            [[[nits, places[name]] for nits, name in units] for units in side] for side in (darkest, brightest)
        ]
        gamma, threshold = self._single.terms()
        nits_sums, jnd_sums, buckets = self._nits.sums.terms(), self._jnd.sums.terms(), self._sketches.buckets()
        # Without a unit, the least and the greatest luminance are infinite.
        least = [end if self.units else None for end in self._least.tolist()]
        greatest = [end if self.units else None for end in self._greatest.tolist()]
        tables = {}
        for (key, place), levels in zip(self._places.items(), self._shape.levels):
            coverage, hbm = TABLES[key]
            tables[key] = {
                "mode": "hbm" if hbm else "standard",
                "coverage": coverage,
                "levels": list(levels),
                "nits": {
                    "sums": nits_sums[place],
                    "squares": self._nits.squares[place].tolist(),
                    "least": least[place],
                    "greatest": greatest[place],
                },
                "jnd": {
                    "counts": self._jnd.counts[place].tolist(),
                    "sums": jnd_sums[place],
                    "squares": self._jnd.squares[place].tolist(),
                },
                "sketch": buckets[place],
                "darkest": listed[0][place],
                "brightest": listed[1][place],
            }
        report = {
            "schema": _SCHEMA,
            "range": dict(zip(("minimum_bl", "max_bl", "max_os_bl"), self._shape.range)),
            "units": self.units,
            "rejected": {
                "count": self.rejected.count,
                "first": [{"file": file, "reason": reason} for file, reason in self.rejected.first.items()],
            },
            "gamma": gamma,
            "pcc_thresh": threshold,
            "linear_table": self._panel_levels.tolist(),
            "names": names,
            "tables": tables,
        }
        return json.dumps(report, separators=(",", ":"))

    @classmethod
    def from_json(cls, text: str) -> Summary:
        """Reads a partial result, by whichever program it was written.

        Raises ValueError with the place of the first fault if it is none, or if its figures contradict each other.
        """
        try:
            partial = Foreign(json.loads(text))
        except RecursionError:
            raise ValueError("the text: expected a partial result, found values nested too deep") from None
        schema = partial.at("schema")
        if schema.at("name").text() != _SCHEMA["name"] or schema.at("version").whole() != _SCHEMA["version"]:
            raise schema.fail("version 1 of lot_partial")
        summary = cls.__new__(cls)
        summary._reset(_shape_in(partial))
        summary._read_lot(partial)
        names = [name.text() for name in partial.at("names").array()]
        tables = [partial.at("tables").at(key) for key in TABLES]
        summary._read_columns(tables, names)
        return summary

    def _read(self, panel: Panel) -> Tuple[Floats, Integers, Floats]:
        """A unit's gamma and threshold, panel levels, and luminances. Raises ValueError if it does not fit."""

        def refuse(reason: str) -> ValueError:
            return ValueError(f"{panel.file}: {reason}")

        if tuple(panel.range) != self._shape.range:
            names = "minimum_bl {}, max_bl {}, max_os_bl {}"
            found, expected = names.format(*panel.range), names.format(*self._shape.range)
            raise refuse(f"found {found}, expected the lot's {expected}")
        numbers = np.array([panel.gamma, panel.threshold])
        if not (np.abs(numbers) <= _MOST_NITS).all():
            raise refuse(f"found gamma {numbers[0]} and pcc_thresh {numbers[1]}, expected finite numbers")
        panel_levels = panel.linear_table()
        if panel_levels.size != self._shape.linear_levels:
            raise refuse(f"found {panel_levels.size} linearized levels, expected the lot's {self._shape.linear_levels}")
        of_tables = []
        for (key, (coverage, hbm)), levels in zip(TABLES.items(), self._shape.levels):
            nits = panel.nits(np.array(levels, np.uint32), coverage, hbm)
            wrong = ~((nits >= 0) & (nits <= _MOST_NITS))
            if wrong.any():
                first = int(np.argmax(wrong))
                what = f"{nits[first]} nits" if nits[first] == nits[first] else "a refusal"
                raise refuse(f"{key}: found {what} at level {levels[first]}, expected 0 to {_MOST_NITS:.0f} nits")
            of_tables.append(nits)
        return numbers, panel_levels, np.concatenate(of_tables)

    def _read_lot(self, partial: Foreign) -> None:
        self.units = partial.at("units").whole()
        rejected = partial.at("rejected")
        for each in rejected.at("first").array():
            self.rejected.add(each.at("file").text(), each.at("reason").text())
        if self.rejected.count > rejected.at("count").whole():
            raise rejected.fail('a count of at least the files in "first"')
        self.rejected.count = rejected.at("count").whole()
        self._single = ExactSums.from_terms([partial.at("gamma").terms(), partial.at("pcc_thresh").terms()])
        self._panel_levels = np.array([level.whole() for level in partial.at("linear_table").array()], np.int64)

    def _read_columns(self, tables: List[Foreign], names: List[str]) -> None:
        def column(*keys: str) -> List[Foreign]:
            """One value for each level of all tables."""
            values = []
            for table, levels in zip(tables, self._shape.levels):
                values += functools.reduce(Foreign.at, keys, table).array(len(levels))
            return values

        counts = np.full(len(self._least), self.units, np.int64)
        squares = [np.array([value.not_negative() for value in column(what, "squares")]) for what in ("nits", "jnd")]
        sums = [ExactSums.from_terms([value.terms() for value in column(what, "sums")]) for what in ("nits", "jnd")]
        jnd_counts = np.array([value.whole(self.units) for value in column("jnd", "counts")], np.int64)
        self._nits = Moments.of(counts, sums[0], squares[0])
        self._jnd = Moments.of(jnd_counts, sums[1], squares[1])
        if self.units:
            self._least = np.array([value.not_negative() for value in column("nits", "least")])
            self._greatest = np.array([value.not_negative() for value in column("nits", "greatest")])
            if (self._least > self._greatest).any():
                raise tables[0].fail("least luminances of at most the greatest ones")
        for place, buckets in enumerate(column("sketch")):
            self._read_sketch(place, buckets)
        listed = min(self.units, Extremes.MOST)
        sides = [[_units_in(units, listed, names) for units in column(side)] for side in ("darkest", "brightest")]
        self._extremes = Extremes.of(*sides)

    def _read_sketch(self, column: int, buckets: Foreign) -> None:
        left, before = self.units, -1
        for pair in buckets.array():
            bucket, count = pair.array(2)
            if not before < bucket.whole(BUCKETS - 1) or not count.whole(left):
                raise pair.fail("a bucket above the one before, and its count above 0")
            self._sketches.set(column, bucket.whole(), count.whole())
            left, before = left - count.whole(), bucket.whole()
        if left:
            raise buckets.fail(f"counts of {self.units} units in all")


def _robust_deviation(distribution: Tuple[Floats, Integers], median: float) -> float:
    """The standard deviation of a normal distribution with the same median distance from the median."""
    middles, counts = distribution
    distances = np.abs(middles - median)
    order = np.argsort(distances, kind="stable")
    return max(_NORMAL * of_rank(0.5, distances[order], counts[order]), median * SKETCH_ERROR)


def _units_in(units: Foreign, count: int, names: List[str]) -> List[Tuple[float, str]]:
    pairs = [pair.array(2) for pair in units.array(count)]
    return [(nits.not_negative(), names[name.whole(len(names) - 1)]) for nits, name in pairs]


def _percentiles(
    distributions: List[Tuple[Floats, Integers]], least: Floats, greatest: Floats, share: float
) -> Floats:
    if not 0 <= share <= 1:
        raise ValueError(f"a share is from 0 to 1, not {share}")
    middles = np.array([of_rank(share, numbers, counts) for numbers, counts in distributions])
    return np.minimum(np.maximum(middles, least), greatest)


# The index rises with the luminance, so percentiles of one are those of the other.
def _jnd_percentiles(of_nits: Callable[[float], Floats], share: float) -> Floats:
    return _gsdf.jnd_of(of_nits(share))


def _shape_of(panel: Panel, levels: Optional[Array]) -> _Shape:
    last = panel.range.highest_client_level
    if levels is None:
        of_tables = [_thinned(np.unique(table.levels[table.levels <= last])) for table in panel.tables]
    else:
        asked = np.unique(np.asarray(levels))
        if asked.dtype.kind not in "iu" or asked.size == 0 or asked[0] < 0 or asked[-1] > last:
            raise ValueError(f"levels must be whole numbers from 0 to {last}, the highest client level")
        of_tables = [asked] * len(TABLES)
    shape = tuple(tuple(of_table.tolist()) for of_table in of_tables)
    lowest, highest, _ = panel.range
    return _Shape((lowest, highest, last), panel.linear_table().size, shape)


def _thinned(levels: Integers) -> Integers:
    if levels.size <= _USUAL_LEVELS:
        return levels
    thinned: Integers = levels[np.arange(_USUAL_LEVELS) * (levels.size - 1) // (_USUAL_LEVELS - 1)]
    return thinned


def _shape_in(partial: Foreign) -> _Shape:
    bounds = partial.at("range")
    lowest, highest, last = (bounds.at(key).whole(2**32 - 1) for key in ("minimum_bl", "max_bl", "max_os_bl"))
    of_tables = []
    for key in TABLES:
        values = partial.at("tables").at(key).at("levels")
        levels = tuple(level.whole(last) for level in values.array())
        if any(level >= above for level, above in zip(levels, levels[1:])):
            raise values.fail("levels that rise")
        of_tables.append(levels)
    return _Shape((lowest, highest, last), len(partial.at("linear_table").array()), tuple(of_tables))


def distributed(paths: Iterable[Path], client: Any, levels: Optional[Array] = None, batch: int = 250) -> Summary:
    """The figures of many units, read by many processes.

    paths: calibration files, as each process finds them. Names of units in the figures are these paths.
    client: a distributed.Client, or any executor with a function map (concurrent.futures has two). On Dask, parts of
        the lot merge on the workers, and Dask repeats what a worker that died had done.
    levels: as in Summary. The lot's range and levels are those that most of the first 100 files have, by the bytes of
        their paths: these files this process must read, too.
    batch: how many files a process reads at a time.

    A file that does not load or does not fit is rejected and told in Summary.rejected. Raises ValueError if no file is
    given or none of the first 100 loads; what the client raises passes through.
    """
    names = [os.fspath(path) for path in paths]
    if not names:
        raise ValueError("a lot needs at least one file")
    work = functools.partial(_summarise, _common_shape(names, levels))
    batches = [names[i:i + batch] for i in range(0, len(names), batch)]
    dask = sys.modules.get("distributed")
    if dask is not None and isinstance(client, dask.Client):
        return _merged_on_workers(client, client.map(work, batches, pure=False))
    return _merge(client.map(work, batches))


def _common_shape(names: List[str], levels: Optional[Array]) -> Summary:
    """An empty lot of the shape that most of the first files have: one odd unit must not reject the others."""
    shapes: Counter[_Shape] = Counter()
    reasons = []
    for name in sorted(names, key=os.fsencode)[:_MOST_TOLD]:
        try:
            shapes[_shape_of(Panel(pathlib.Path(name)), levels)] += 1
        except (CalibrationError, ValueError) as error:
            reasons.append(str(error))
    if not shapes:
        raise ValueError("\n".join([f"none of the first {len(reasons)} of {len(names)} files loads", *reasons[:10]]))
    summary = Summary.__new__(Summary)
    summary._reset(shapes.most_common(1)[0][0])
    return summary


def _summarise(shape: Summary, names: Sequence[str]) -> Summary:
    summary = shape.empty()
    for name in names:
        try:
            summary.add(Panel(pathlib.Path(name)), name)
        except (CalibrationError, ValueError) as error:
            summary.reject(name, str(error))
    return summary


def _merge(summaries: Iterable[Summary]) -> Summary:
    parts = iter(summaries)
    whole = next(parts)
    for part in parts:
        whole.merge(part)
    return whole


def _merge_copies(summaries: List[Summary]) -> Summary:
    """Leaves the parts as they are: Dask may need them again."""
    return _merge([summaries[0].empty(), *summaries])


def _merged_on_workers(client: Any, parts: List[Any]) -> Summary:
    at_once = 8
    while len(parts) > 1:
        groups = [parts[i:i + at_once] for i in range(0, len(parts), at_once)]
        parts = [client.submit(_merge_copies, group, pure=False) for group in groups]
    result: Summary = parts[0].result()
    return result
