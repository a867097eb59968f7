"""The grayscale standard display function (DICOM PS3.14): just-noticeable differences (JND) of luminance."""

from __future__ import annotations

import math

import numpy as np

from ._arrays import Floats

LEAST_NITS = 0.05
MOST_NITS = 4000.0
_IN_JND = 4


def _nits_of(index: Floats) -> Floats:
    x = np.log(index)
    above = -1.3011877 + x * (8.0242636e-2 + x * (1.3646699e-1 + x * (-2.5468404e-2 + x * 1.3635334e-3)))
    below = 1.0 + x * (
        -2.5840191e-2 + x * (-1.0320229e-1 + x * (2.8745620e-2 + x * (-3.1978977e-3 + x * 1.2992634e-4)))
    )
    return np.asarray(10.0 ** (above / below))


_LUMINANCES = _nits_of(1.0 + np.arange(1023 * _IN_JND + 1) / _IN_JND)


def jnd_of(nits: Floats) -> Floats:
    """The JND indices of luminances, within 0.001; NaN outside LEAST_NITS to MOST_NITS."""
    defined = (nits >= LEAST_NITS) & (nits <= MOST_NITS)
    asked = np.where(defined, nits, 1.0)
    place = np.searchsorted(_LUMINANCES, asked, side="right") - 1
    below, above = _LUMINANCES[place], _LUMINANCES[place + 1]
    return np.where(defined, 1.0 + (place + (asked - below) / (above - below)) / _IN_JND, math.nan)
