"""The C library: how it is found, its functions with the types of their arguments, and its errors as exceptions."""

from __future__ import annotations

import ctypes
import os
import re
from ctypes import POINTER, byref, c_char_p, c_double, c_int, c_int32, c_size_t, c_uint32, c_void_p
from typing import Any, NoReturn, Sequence

from ._errors import CalibrationError, CalibrationNotFoundError, RefusedError

_VERSION = (1, 0)  # the major and the minor version of the header for which this file is written
_VARIABLE = "BACKLIGHT_NITS_LIBRARY"
_NAME = "libbacklight_nits_c.so.1"

OK = 0
REFUSED = 4
_EXCEPTIONS = {1: ValueError, 2: CalibrationNotFoundError, 3: CalibrationError, 5: MemoryError}

# Where an array of levels has no answer.
NO_LEVEL = 0xFFFFFFFF


def load() -> ctypes.CDLL:
    """Loads the library. Raises ImportError if it is missing or has another version."""
    name = os.environ.get(_VARIABLE) or _NAME
    try:
        library = ctypes.CDLL(name)
        library.bln_version.restype = c_char_p
        version = library.bln_version().decode()
    except (OSError, AttributeError) as error:
        raise ImportError(
            f"backlight_nits needs its C library: {error}. Install it (Debian: libbacklight-nits-c1), or set the "
            f"environment variable {_VARIABLE} to its path."
        ) from error
    major, minor = (int(number) for number in version.split(".")[:2])
    if major != _VERSION[0] or minor < _VERSION[1]:
        raise ImportError(
            f"{name} has version {version}, but backlight_nits needs version {_VERSION[0]}, at least "
            f"{_VERSION[0]}.{_VERSION[1]}"
        )
    return library


_library = load()


class _Handle(c_void_p):
    """Frees its object when Python deletes the handle, which is after the last call that uses it."""

    def __reduce__(self) -> NoReturn:
        # Two handles would free the object twice.
        raise TypeError("panels and curves of the C library cannot be pickled or deep-copied")


class ContextHandle(_Handle):
    def __del__(self) -> None:
        _library.bln_context_free(self)


class PanelHandle(_Handle):
    def __del__(self) -> None:
        _library.bln_panel_free(self)


class CurveHandle(_Handle):
    def __del__(self) -> None:
        _library.bln_curve_free(self)


class RangeRecord(ctypes.Structure):
    _fields_ = [
        ("lowest_panel_level", c_uint32),
        ("highest_panel_level", c_uint32),
        ("highest_client_level", c_uint32),
    ]


# The arguments of each function that returns a status. Arrays are the addresses of their first elements.
_context, _panel, _curve = ContextHandle, PanelHandle, CurveHandle
_array = c_void_p
_coverage, _mode, _pattern = c_uint32, c_int32, c_int32
_ARGUMENTS = {
    "bln_context_create": [POINTER(_context)],
    "bln_context_add_folder": [_context, c_char_p],
    "bln_panel_open": [_context, c_char_p, POINTER(_panel)],
    "bln_panel_open_file": [_context, c_char_p, POINTER(_panel)],
    "bln_panel_file": [_panel, POINTER(c_char_p)],
    "bln_panel_range": [_panel, POINTER(RangeRecord)],
    "bln_panel_gamma": [_panel, POINTER(c_double)],
    "bln_panel_threshold": [_panel, POINTER(c_double)],
    "bln_panel_table": [_panel, _pattern, _mode, _array, _array, c_size_t, POINTER(c_size_t)],
    "bln_panel_linear_table": [_panel, _array, c_size_t, POINTER(c_size_t)],
    "bln_panel_nits_array": [_panel, _array, c_size_t, _coverage, _mode, _array, POINTER(c_size_t)],
    "bln_panel_level_array": [_panel, _array, c_size_t, _coverage, _mode, _array, POINTER(c_size_t)],
    "bln_panel_set_dimming": [_panel, c_int],
    "bln_panel_set_dimming_luts": [_panel, _array, c_size_t, _array, c_size_t],
    "bln_curve_create": [_panel, _coverage, _mode, POINTER(_curve)],
    "bln_curve_values": [_curve, POINTER(POINTER(c_double)), POINTER(c_size_t)],
    "bln_curve_nits": [_curve, _array, c_size_t, _array],
    "bln_curve_levels": [_curve, _array, c_size_t, _array],
}
for _function, _types in _ARGUMENTS.items():
    getattr(_library, _function).argtypes = _types
    getattr(_library, _function).restype = c_int32
for _function, _handle in (("context", _context), ("panel", _panel), ("curve", _curve)):
    getattr(_library, f"bln_{_function}_free").argtypes = [_handle]
    getattr(_library, f"bln_{_function}_free").restype = None
_library.bln_last_error.restype = c_char_p


def last_error() -> str:
    """Why the last call on this thread failed."""
    text: bytes = _library.bln_last_error()
    return text.decode("utf-8", "replace")


def status_of(function: str, *arguments: Any) -> int:
    """Calls bln_<function>. Returns OK or REFUSED; raises an exception for any other status."""
    status: int = getattr(_library, f"bln_{function}")(*arguments)
    if status in (OK, REFUSED):
        return status
    if status in _EXCEPTIONS:
        raise _EXCEPTIONS[status](last_error())
    raise RuntimeError(f"bln_{function} returned {status}: {last_error()}")


def call(function: str, *arguments: Any) -> None:
    """Calls bln_<function>. A refusal raises RefusedError."""
    if status_of(function, *arguments) == REFUSED:
        raise RefusedError(last_error())


def open_panel(function: str, path_or_name: str, file: str, folders: Sequence[str]) -> PanelHandle:
    """Opens a panel with bln_<function>. `file` is a regular expression that matches the path of its file in errors."""
    context, panel = ContextHandle(), PanelHandle()
    call("context_create", byref(context))
    for folder in folders:
        call("context_add_folder", context, _c_text(folder))
    try:
        call(function, context, _c_text(path_or_name), byref(panel))
    except CalibrationError as error:
        message = str(error)
        found = re.match(rf"({file}):(?:(\d+):)? (.*)", message, re.DOTALL)
        if found is None:
            raise
        line = None if found[2] is None else int(found[2])
        raise type(error)(message, reason=found[3], file=found[1], line=line) from None
    return panel


def _c_text(text: str) -> bytes:
    if "\0" in text:
        raise ValueError(f"{text!r} contains a null character")
    return os.fsencode(text)
