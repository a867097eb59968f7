"""Backlight levels and luminances of display panels, from their calibration files.

    >>> from backlight_nits import Panel
    >>> panel = Panel("samples/backlight_calib_oled_phone.xml")
    >>> panel.nits(120, coverage=55)
    239.1765
    >>> panel.curve(coverage=55).level(239.2)
    120

Units: luminance is in nits (cd/m²). Coverage is the share of the screen that is lit, an integer from 1 to 100 per cent.
A client level is a backlight level from 0 to Range.highest_client_level. A panel level is a value that the panel's
backlight control accepts.

Scalars give Python scalars. Arrays, lists and tuples give new arrays of the same shape. Values may have any integer or
floating-point type. Booleans, texts, complex numbers and objects raise TypeError.

A value is refused if the panel has no answer for it: a level that is negative, fractional, not a number or above the
highest client level; a coverage out of range; a faulty table. Its result is NaN. With strict=True, RefusedError is
raised instead; it names a refused value.

Threads: any thread may use any object. A panel answers one call after the other. A curve takes no lock. Calls release
the interpreter's lock while they convert.

The package needs the C library: the file in the environment variable BACKLIGHT_NITS_LIBRARY or, without it,
libbacklight_nits_c.so.1 from the system's libraries. Importing raises ImportError if it is missing or does not match.
"""

from ._errors import CalibrationError, CalibrationNotFoundError, RefusedError
from ._panel import Curve, MeasuredTable, MeasuredTables, Panel, Range

__version__ = "1.0.0"

__all__ = [
    "CalibrationError",
    "CalibrationNotFoundError",
    "Curve",
    "MeasuredTable",
    "MeasuredTables",
    "Panel",
    "Range",
    "RefusedError",
]

# Tracebacks and help show the names that callers use.
for _name in __all__:
    globals()[_name].__module__ = __name__
