"""Numbers of the caller as arrays that the C library reads."""

from __future__ import annotations

from typing import Any, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from ._errors import RefusedError

AnyArray = npt.NDArray[Any]
Floats = npt.NDArray[np.float64]
Integers = npt.NDArray[np.int64]
Unsigned = npt.NDArray[np.uint32]
Mask = npt.NDArray[np.bool_]
Scalar = Union[int, float, "np.integer[Any]", "np.floating[Any]"]
Array = Union[Sequence[Any], AnyArray]

_HIGHEST = 0xFFFFFFFF  # of the library's levels


def answer(question: Any, result: AnyArray) -> Any:
    """What the caller gets: a Python scalar for a scalar. An array without dimensions gives an array again."""
    return result.item() if result.ndim == 0 and not isinstance(question, np.ndarray) else result


def luminances(values: Any, what: str = "luminances") -> Floats:
    """Any numbers."""
    return _for_library(_real_numbers(float(values) if _is_int(values) else values, what), np.float64)


def levels(values: Any, strict: bool, what: str = "level") -> Tuple[Unsigned, Optional[Mask]]:
    """Levels, and a mask of the numbers that cannot be levels; None: all can. Where the mask is true, the level has no
    meaning. With `strict`, such a number raises RefusedError.
    """
    # NumPy has no integer type for larger numbers.
    array = _real_numbers(max(-1, min(values, _HIGHEST + 1)) if _is_int(values) else values, f"{what}s")
    if array.dtype.kind == "u" and array.dtype.itemsize <= 4:
        return _for_library(array, np.uint32), None
    if array.dtype.kind == "f":
        # NaN is not equal to itself.
        wrong = (array < 0) | (array > _HIGHEST) | (array != np.floor(array))
    else:
        # As an unsigned number, a negative one is large.
        wrong = array.astype(np.int64, copy=False).view(np.uint64) > _HIGHEST
    if not wrong.any():
        return _for_library(array, np.uint32), None
    if strict:
        place = int(np.argmax(wrong))
        raise RefusedError(
            f"{what} {array.flat[place]} (element {place}) is not a whole number from 0 to {_HIGHEST}"
        )
    return _for_library(np.where(wrong, 0, array), np.uint32), wrong


def read_only(array: AnyArray) -> AnyArray:
    """Protects an array against changes by mistake."""
    array.flags.writeable = False
    return array


def _is_int(values: Any) -> bool:
    return isinstance(values, int) and not isinstance(values, bool)


def _real_numbers(values: Any, what: str) -> AnyArray:
    array = np.asarray(values)
    if array.dtype.kind not in "iuf":
        raise TypeError(f"{what} must be integers or floating-point numbers, not {array.dtype}")
    return array


def _for_library(array: AnyArray, dtype: Any) -> AnyArray:
    """The same numbers as `dtype`, aligned and in C order. A copy only if necessary."""
    return np.require(array, dtype, ["C_CONTIGUOUS", "ALIGNED"])
