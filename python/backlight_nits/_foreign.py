"""Values of a JSON text that somebody else wrote."""

from __future__ import annotations

from typing import Any, List, Optional

MOST = 2**53  # Every whole number up to it is a double.
_LARGEST = 1e40
_MOST_TERMS = 40  # Of a sum of such doubles.


class Foreign:
    """A value and its place. Each function raises ValueError with the place if the value is not what is expected."""

    def __init__(self, value: Any, place: str = "") -> None:
        self._value = value
        self.place = place

    def fail(self, expected: str) -> ValueError:
        return ValueError(f"{self.place or 'the text'}: expected {expected}")

    def at(self, key: str) -> Foreign:
        if not isinstance(self._value, dict) or key not in self._value:
            raise self.fail(f'an object with "{key}"')
        return Foreign(self._value[key], f"{self.place}.{key}" if self.place else key)

    def array(self, count: Optional[int] = None) -> List[Foreign]:
        """The values of an array. count: how many it must have; None: any number."""
        if not isinstance(self._value, list) or count not in (None, len(self._value)):
            raise self.fail("an array" if count is None else f"an array of {count} values")
        return [Foreign(value, f"{self.place}[{i}]") for i, value in enumerate(self._value)]

    def text(self) -> str:
        if not isinstance(self._value, str):
            raise self.fail("a text")
        return self._value

    def whole(self, most: int = MOST) -> int:
        if type(self._value) is not int or not 0 <= self._value <= most:
            raise self.fail(f"a whole number from 0 to {most}")
        return self._value

    def number(self) -> float:
        if type(self._value) not in (int, float) or not abs(self._value) <= _LARGEST:
            raise self.fail(f"a number of at most {_LARGEST} in magnitude")
        return float(self._value)

    def not_negative(self) -> float:
        if self.number() < 0:
            raise self.fail("a number that is not negative")
        return self.number()

    def terms(self) -> List[float]:
        """The terms of an exact sum."""
        terms = [value.number() for value in self.array()]
        if len(terms) > _MOST_TERMS:
            raise self.fail(f"at most {_MOST_TERMS} numbers")
        return terms
