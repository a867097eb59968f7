"""Panels, their curves, and the numbers of their files."""

from __future__ import annotations

import math
import operator
import os
import re
import threading
from contextlib import contextmanager
from ctypes import POINTER, byref, c_char_p, c_double, c_size_t
from typing import Any, Iterator, Literal, NamedTuple, Sequence, Union, overload

import numpy as np

from . import _arrays
from ._arrays import AnyArray, Array, Floats, Integers, Scalar
from ._errors import RefusedError
from ._library import NO_LEVEL, REFUSED, CurveHandle, RangeRecord, call, last_error, open_panel, status_of


Path = Union[str, "os.PathLike[str]"]


class Range(NamedTuple):
    """A panel's backlight range, as it stands in the file."""

    lowest_panel_level: int  #: No computation uses it.
    highest_panel_level: int  #: A dimming LUT has one entry more than this.
    highest_client_level: int  #: 0 if the file has none.


class MeasuredTable(NamedTuple):
    """The points of one measured table, in the order of the file, unsorted. The arrays are read-only."""

    levels: Integers  #: The client level of each point.
    nits: Floats  #: The luminance of each point, in nits.


class MeasuredTables(NamedTuple):
    """The four measured tables: one tenth of the screen lit, or the full screen, each in both modes."""

    standard_10: MeasuredTable
    standard_100: MeasuredTable
    hbm_10: MeasuredTable
    hbm_100: MeasuredTable


class Panel:
    """A panel: one calibration file, loaded, with a dimming state of its own.

    Arguments that several functions have:
      coverage: the share of the screen that is lit, an integer, 1 to 100 per cent.
      hbm: True uses what was measured in high-brightness operation (HDR).
      strict: a refused value raises RefusedError; otherwise its result is NaN.

    Threads: any thread may call any function. A panel answers one call after the other. Each Panel object has its own
    calibration and state, also if several objects have the same file.
    """

    def __init__(self, path_or_name: Path, folders: Sequence[Path] = ()) -> None:
        """Loads a calibration file.

        path_or_name: a pathlib.Path, and a text that has a slash or ends with .xml, is the file's path. Any other text
            is a panel's name: the file backlight_calib_<name>.xml is searched in the device's folders
            (/vendor/etc/display, /odm/etc/display, /usr/data/display, or the working folder) and then in `folders`.
        folders: further folders in which a name is searched, in this order.

        Raises CalibrationNotFoundError if there is no file or it cannot be read; CalibrationError if the file is
        refused; ValueError if a text is empty or has a null character.
        """
        text = os.fspath(path_or_name)
        if not isinstance(path_or_name, str) or "/" in text or text.endswith(".xml"):
            function, file = "panel_open_file", re.escape(text)
        else:
            function, file = "panel_open", rf".*?backlight_calib_{re.escape(text)}\.xml"
        self._handle = open_panel(function, text, file, [os.fspath(folder) for folder in folders])
        self._dimming = threading.Lock()

    def __repr__(self) -> str:
        return f"Panel({self.file!r})"

    @property
    def file(self) -> str:
        """The path of the file that was loaded."""
        path = c_char_p()
        call("panel_file", self._handle, byref(path))
        return os.fsdecode(path.value or b"")

    @property
    def range(self) -> Range:
        """The backlight range, in panel levels and client levels."""
        record = RangeRecord()
        call("panel_range", self._handle, byref(record))
        return Range(record.lowest_panel_level, record.highest_panel_level, record.highest_client_level)

    @property
    def gamma(self) -> float:
        """The exponent of the panel's transfer curve, without unit, as it stands in the file."""
        return self._number("panel_gamma")

    @property
    def threshold(self) -> float:
        """The threshold of the colour-correction (PCC) attenuation: a factor, 1.0 if the file has none."""
        return self._number("panel_threshold")

    @property
    def tables(self) -> MeasuredTables:
        """The four measured tables. Each access reads them anew."""
        return MeasuredTables(*(self._table(coverage, hbm) for hbm in (False, True) for coverage in (10, 100)))

    def linear_table(self) -> Integers:
        """The dense linear table: element i is the panel level of linearized level i.

        Raises RefusedError if the file's table has fewer than two pairs, does not rise strictly, does not begin at 0 or
        ends above 1,048,575.
        """
        count = c_size_t()
        call("panel_linear_table", self._handle, None, 0, byref(count))
        levels = np.empty(count.value, np.uint32)
        call("panel_linear_table", self._handle, levels.ctypes.data, levels.size, byref(count))
        return levels.astype(np.int64)

    @overload
    def nits(self, levels: Scalar, coverage: int = ..., hbm: bool = ..., *, strict: bool = ...) -> float: ...

    @overload
    def nits(self, levels: Array, coverage: int = ..., hbm: bool = ..., *, strict: bool = ...) -> Floats: ...

    def nits(self, levels: Any, coverage: int = 100, hbm: bool = False, *, strict: bool = False) -> Any:
        """The luminances of client levels in nits, not rounded: the results of the device's library, bit for bit.

        levels: whole numbers from 0 to Range.highest_client_level. Refused: any other number, and a level at which the
            measured table does not allow interpolation.

        A curve answers faster: see Panel.curve.
        """
        asked, wrong = _arrays.levels(levels, strict)
        # A refused coverage leaves the array as it is.
        nits = np.full(asked.shape, math.nan)
        status = self._convert("panel_nits_array", asked, coverage, hbm, nits)
        if strict and status == REFUSED:
            raise RefusedError(last_error())
        if wrong is not None:
            nits[wrong] = math.nan
        return _arrays.answer(levels, nits)

    @overload
    def level(self, nits: Scalar, coverage: int = ..., hbm: bool = ..., *, strict: Literal[True]) -> int: ...

    @overload
    def level(self, nits: Array, coverage: int = ..., hbm: bool = ..., *, strict: Literal[True]) -> Integers: ...

    @overload
    def level(self, nits: Scalar, coverage: int = ..., hbm: bool = ..., *, strict: Literal[False] = ...) -> float: ...

    @overload
    def level(self, nits: Array, coverage: int = ..., hbm: bool = ..., *, strict: Literal[False] = ...) -> Floats: ...

    def level(self, nits: Any, coverage: int = 100, hbm: bool = False, *, strict: bool = False) -> Any:
        """The client levels for luminances, as the device's library computes them.

        Between the measured coverages the round trip through Panel.nits is not exact. Curve.level gives an exact one.
        With dimming off, a level may exceed Range.highest_client_level.

        nits: any numbers. Refused: a luminance at which the measured table does not allow interpolation.
        Returns an int for a scalar. An array is of integers with strict=True, and else of floating-point numbers,
        because integers have no NaN.
        """
        asked = _arrays.luminances(nits)
        levels = np.full(asked.shape, NO_LEVEL, np.uint32)
        status = self._convert("panel_level_array", asked, coverage, hbm, levels)
        if status == REFUSED and strict:
            raise RefusedError(last_error())
        if strict:
            return _arrays.answer(nits, levels.astype(np.int64))
        # Any level may be an answer if none is refused.
        refused = (levels == NO_LEVEL) & (status == REFUSED)
        level = _arrays.answer(nits, np.where(refused, math.nan, levels))
        return int(level) if isinstance(level, float) and level == level else level

    def curve(self, coverage: int = 100, hbm: bool = False) -> Curve:
        """Samples the luminances of all client levels: a snapshot, which does not follow later changes of dimming.

        Raises RefusedError as Panel.nits does for any level, and if Range.highest_client_level is above 1,048,575.
        """
        handle = CurveHandle()
        call("curve_create", self._handle, _per_cent(coverage), bool(hbm), byref(handle))
        return Curve(handle)

    @contextmanager
    def dimming(self, lut: Array, attenuation: Array) -> Iterator[None]:
        """Conversions inside the `with` block are those of a dimmed panel, for all who use this object.

        lut: the dimmed panel level of each panel level: Range.highest_panel_level + 1 whole numbers.
        attenuation: a factor on the luminance of each client level: Range.highest_client_level + 1 numbers.

        The block ends with dimming off. Raises ValueError for arrays of another size, RuntimeError if dimming is on
        already, RefusedError if a measured table does not allow interpolation at a dimmed level.
        """
        panel_levels, _ = _arrays.levels(lut, strict=True, what="panel level")
        factors = _arrays.luminances(attenuation, "factors")
        if panel_levels.ndim != 1 or factors.ndim != 1:
            raise ValueError("the LUT and the attenuation must have one dimension")
        if not self._dimming.acquire(blocking=False):
            raise RuntimeError("dimming is on already")
        try:
            luts = panel_levels.ctypes.data, panel_levels.size, factors.ctypes.data, factors.size
            call("panel_set_dimming_luts", self._handle, *luts)
            call("panel_set_dimming", self._handle, True)
            yield
        finally:
            call("panel_set_dimming", self._handle, False)
            self._dimming.release()

    def _number(self, function: str) -> float:
        number = c_double()
        call(function, self._handle, byref(number))
        return number.value

    def _table(self, coverage: int, hbm: bool) -> MeasuredTable:
        count = c_size_t()
        call("panel_table", self._handle, coverage, hbm, None, None, 0, byref(count))
        levels, nits = np.empty(count.value, np.uint32), np.empty(count.value)
        arrays = levels.ctypes.data, nits.ctypes.data, levels.size
        call("panel_table", self._handle, coverage, hbm, *arrays, byref(count))
        return MeasuredTable(_arrays.read_only(levels.astype(np.int64)), _arrays.read_only(nits))

    def _convert(self, function: str, asked: AnyArray, coverage: int, hbm: bool, found: AnyArray) -> int:
        per_cent = _per_cent(coverage)
        return status_of(
            function, self._handle, asked.ctypes.data, asked.size, per_cent, bool(hbm), found.ctypes.data, None
        )


class Curve:
    """The luminances of all client levels at one coverage. Panel.curve creates it.

    A curve never changes. Any number of threads may use it. It takes no lock, and it may outlive its panel.
    len(curve) is the number of levels.
    """

    def __init__(self, handle: CurveHandle):
        self._handle = handle
        nits, count = POINTER(c_double)(), c_size_t()
        call("curve_values", handle, byref(nits), byref(count))
        # A copy, because an array of the library's memory could outlive it.
        self._values: Floats = _arrays.read_only(np.ctypeslib.as_array(nits, (count.value,)).copy())

    def __len__(self) -> int:
        return self._values.size

    def __repr__(self) -> str:
        return f"Curve({self._values.size} levels, {self._values[0]} to {self._values[-1]} nits)"

    @property
    def values(self) -> Floats:
        """The luminance of each client level, in nits. Read-only."""
        return self._values

    @overload
    def nits(self, levels: Scalar, *, strict: bool = ...) -> float: ...

    @overload
    def nits(self, levels: Array, *, strict: bool = ...) -> Floats: ...

    def nits(self, levels: Any, *, strict: bool = False) -> Any:
        """The luminances of client levels in nits: what Panel.nits gave when the curve was taken, bit for bit.

        levels: whole numbers from 0 to len(curve) - 1. Any other number is refused: NaN, or RefusedError with `strict`.
        """
        asked, wrong = _arrays.levels(levels, strict)
        if strict and asked.size and asked.max() >= len(self):
            raise RefusedError(f"level {asked.max()} is above the curve's highest level, {len(self) - 1}")
        nits = np.empty(asked.shape)
        call("curve_nits", self._handle, asked.ctypes.data, asked.size, nits.ctypes.data)
        if wrong is not None:
            nits[wrong] = math.nan
        return _arrays.answer(levels, nits)

    @overload
    def level(self, nits: Scalar) -> int: ...

    @overload
    def level(self, nits: Array) -> Integers: ...

    def level(self, nits: Any) -> Any:
        """The client levels whose luminances are nearest.

        Of two levels at the same distance the lower wins; of levels with the same luminance, the highest. NaN is
        treated like infinity: the highest level with the greatest luminance. No number is refused. On a curve that
        rises strictly, curve.level(curve.nits(level)) is `level` for every level.
        """
        asked = _arrays.luminances(nits)
        levels = np.empty(asked.shape, np.uint32)
        call("curve_levels", self._handle, asked.ctypes.data, asked.size, levels.ctypes.data)
        return _arrays.answer(nits, levels.astype(np.int64))


def _per_cent(coverage: Any) -> int:
    """A coverage as the library takes it. It refuses those that are out of range."""
    if isinstance(coverage, (bool, np.bool_)):
        raise TypeError("coverage must be an integer, in per cent, not a bool")
    return max(0, min(operator.index(coverage), NO_LEVEL))
