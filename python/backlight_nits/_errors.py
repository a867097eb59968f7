"""The exceptions of the package."""

from __future__ import annotations

from typing import Optional


class RefusedError(ValueError):
    """The panel has no answer for a value. The text gives the library's reason."""


class CalibrationError(ValueError):
    """A calibration file does not load. The text is "file:line: reason", as far as these are known.

    reason: the library's words without file and line.
    file: the path of the faulty file; None if no file was found.
    line: the line in that file, counted from 1; None if the reason belongs to no line.
    """

    def __init__(
        self, message: str, reason: Optional[str] = None, file: Optional[str] = None, line: Optional[int] = None
    ) -> None:
        super().__init__(message)
        self.reason = message if reason is None else reason
        self.file = file
        self.line = line


class CalibrationNotFoundError(CalibrationError, FileNotFoundError):
    """There is no calibration file, or it cannot be read."""
