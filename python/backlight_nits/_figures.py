"""Figures of numbers that add up: exact sums, scatter, and sketches of distributions. One number for each column."""

from __future__ import annotations

import math
import os
from collections import Counter
from fractions import Fraction
from typing import Dict, List, Sequence, Tuple

import numpy as np

from ._arrays import Floats, Integers, Mask

SKETCH_ERROR = 1.0 / 4096  #: The largest error of a percentile, as a share of the number.
BUCKETS = 0x7FF << 11  #: How many buckets finite numbers from 0 on have.
_DROPPED_BITS = 52 - 11


class ExactSums:
    """Sums of doubles without rounding: the same for any order of adding and merging."""

    def __init__(self, columns: int) -> None:
        self._terms: List[Floats] = [np.zeros(columns)]
        self._most_terms = 8

    def add(self, values: Floats) -> None:
        # Each step splits a sum of two doubles into its rounded value and the exact rest (Shewchuk's expansion).
        rest = values
        terms = []
        for term in self._terms:
            total = term + rest
            of_rest = total - term
            rest = (term - (total - of_rest)) + (rest - of_rest)
            terms.append(total)
            if not rest.any():
                break
        terms += self._terms[len(terms):]
        if rest.any():
            terms.append(rest)
        self._terms = terms
        if len(terms) > self._most_terms:  # Sums of numbers of very different size.
            self._terms = ExactSums.from_terms(self.terms())._terms
            self._most_terms = 2 * len(self._terms) + 8

    def merge(self, other: ExactSums) -> None:
        for term in other._terms:
            self.add(term)

    def terms(self) -> List[List[float]]:
        """The sum of each column as few doubles: the nearest one, the nearest one to the rest, and so on."""
        return [_terms_of(column) for column in zip(*self._terms)]

    @classmethod
    def from_terms(cls, terms: Sequence[Sequence[float]]) -> ExactSums:
        sums = cls(len(terms))
        longest = max(map(len, terms), default=0)
        rows = zip(*([*column, *[0.0] * (longest - len(column))] for column in terms))
        sums._terms += [np.array(row) for row in rows]
        return sums

    def rough_means(self, counts: Integers) -> Floats:
        """The mean of each column, to the last bits; 0 where the count is 0."""
        return np.asarray(sum(reversed(self._terms), np.zeros(counts.shape)) / np.maximum(counts, 1))

    def means(self, counts: Integers) -> Floats:
        """The mean of each column, rounded once; NaN where the count is 0."""
        columns = zip(zip(*self._terms), counts.tolist())
        return np.array([float(sum(map(Fraction, terms)) / count) if count else math.nan for terms, count in columns])


def _terms_of(parts: Sequence[float]) -> List[float]:
    rest = [part for part in parts if part]
    terms = []
    while rest:
        term = math.fsum(rest)
        if term == 0.0:
            break
        terms.append(term)
        rest.append(-term)
    return terms


class Moments:
    """Count, mean and scatter of each column."""

    def __init__(self, columns: int) -> None:
        self.counts: Integers = np.zeros(columns, np.int64)
        self.sums = ExactSums(columns)
        self.squares: Floats = np.zeros(columns)  #: Of the deviations from the mean.
        self._means: Floats = np.zeros(columns)  # Of what was added, nearly: the exact ones take longer.

    def add(self, values: Floats, counted: Mask) -> None:
        """Adds a number to each column that is `counted`."""
        self.counts += counted
        self.sums.add(np.where(counted, values, 0.0))
        before = np.where(counted, values - self._means, 0.0)
        self._means += before / np.maximum(self.counts, 1)
        self.squares += before * np.where(counted, values - self._means, 0.0)

    def merge(self, other: Moments) -> None:
        counts = self.counts + other.counts
        both = (self.counts > 0) & (other.counts > 0)
        distance = np.where(both, other.sums.rough_means(other.counts) - self.sums.rough_means(self.counts), 0.0)
        self.squares += other.squares + distance * distance * (self.counts / np.maximum(counts, 1) * other.counts)
        self.sums.merge(other.sums)
        self.counts = counts
        self._means = self.sums.rough_means(counts)

    def means(self) -> Floats:
        return self.sums.means(self.counts)

    def deviations(self) -> Floats:
        """Standard deviations; NaN for fewer than two numbers."""
        deviations: Floats = np.sqrt(np.where(self.counts > 1, self.squares / np.maximum(self.counts - 1, 1), math.nan))
        return deviations

    @classmethod
    def of(cls, counts: Integers, sums: ExactSums, squares: Floats) -> Moments:
        moments = cls(len(counts))
        moments.counts, moments.sums, moments.squares = counts, sums, squares
        moments._means = sums.rough_means(counts)
        return moments


class Sketches:
    """The distribution of numbers from 0 on in each column, as counts in buckets. A bucket holds the doubles with the
    same sign, exponent and first 11 bits of the mantissa; the first one stands for 0.
    """

    def __init__(self, columns: int) -> None:
        self._columns = np.arange(columns, dtype=np.int64) * BUCKETS
        self._counts: Counter[int] = Counter()  # By column * BUCKETS + bucket.

    def add(self, values: Floats) -> None:
        buckets = np.where(values > 0, values.view(np.int64) >> _DROPPED_BITS, 0)  # -0 has the bits of a large number.
        self._counts.update((self._columns + buckets).tolist())

    def merge(self, other: Sketches) -> None:
        self._counts.update(other._counts)

    def set(self, column: int, bucket: int, count: int) -> None:
        self._counts[column * BUCKETS + bucket] = count

    def buckets(self) -> List[List[List[int]]]:
        """The buckets of each column with their counts, by rising number."""
        columns: List[List[List[int]]] = [[] for _ in self._columns]
        for key, count in sorted(self._counts.items()):
            columns[key // BUCKETS].append([key % BUCKETS, count])
        return columns

    def distributions(self) -> List[Tuple[Floats, Integers]]:
        """The middles of the buckets of each column, rising, and their counts."""
        return [
            (_middles(np.array([bucket for bucket, _ in buckets], np.int64)), np.array([count for _, count in buckets]))
            for buckets in self.buckets()
        ]


def _middles(buckets: Integers) -> Floats:
    middles: Floats = ((buckets << _DROPPED_BITS) + (1 << (_DROPPED_BITS - 1))).view(np.float64)
    return np.where(buckets > 0, middles, 0.0)


def of_rank(share: float, numbers: Floats, counts: Integers) -> float:
    """The number whose rank among all is share * count, rounded up, at least 1; NaN without one. `numbers` rise."""
    totals = np.cumsum(counts)
    if not totals.size:
        return math.nan
    rank = max(1, math.ceil(share * float(totals[-1])))
    return float(numbers[np.searchsorted(totals, rank)])


Lists = List[List[Tuple[float, str]]]  # The numbers and names of each column.


class Extremes:
    """The units with the least and the greatest number of each column. Equal numbers are in the order of their names'
    bytes.
    """

    MOST = 32
    _WAITING = 64

    def __init__(self, columns: int) -> None:
        # Sides: least and greatest. The greatest numbers are kept with their sign changed.
        self._numbers: List[Floats] = [np.empty((0, columns)), np.empty((0, columns))]
        self._names: List[Integers] = [np.empty((0, columns), np.int64), np.empty((0, columns), np.int64)]
        self._known: List[str] = []
        self._waiting: List[Tuple[str, Floats]] = []

    def add(self, values: Floats, name: str) -> None:
        self._waiting.append((name, values))
        if len(self._waiting) == self._WAITING:
            self._sort()

    def merge(self, other: Extremes) -> None:
        self._sort()
        other._sort()
        known = len(self._known)
        self._known = self._known + other._known
        for side in (0, 1):
            self._numbers[side] = np.concatenate([self._numbers[side], other._numbers[side]])
            self._names[side] = np.concatenate([self._names[side], other._names[side] + known])
        self._rank()

    def lists(self, side: int) -> Lists:
        """The numbers and names of each column. side: 0: from the least on; 1: from the greatest on."""
        self._sort()
        numbers = self._numbers[side] if side == 0 else -self._numbers[side]
        names = [[self._known[name] for name in column] for column in self._names[side].T.tolist()]
        return [list(zip(column, named)) for column, named in zip(numbers.T.tolist(), names)]

    @classmethod
    def of(cls, darkest: Lists, brightest: Lists) -> Extremes:
        extremes = cls(len(darkest))
        places: Dict[str, int] = {}
        for side, (lists, sign) in enumerate(((darkest, 1.0), (brightest, -1.0))):
            numbers = [[sign * number for number, _ in column] for column in lists]
            names = [[places.setdefault(name, len(places)) for _, name in column] for column in lists]
            extremes._numbers[side] = np.array(numbers, np.float64).reshape(len(lists), -1).T.copy()
            extremes._names[side] = np.array(names, np.int64).reshape(len(lists), -1).T.copy()
        extremes._known = list(places)
        extremes._rank()
        return extremes

    def _sort(self) -> None:
        if not self._waiting:
            return
        values = np.array([value for _, value in self._waiting])
        names = np.arange(len(self._waiting)) + len(self._known)
        self._known = self._known + [name for name, _ in self._waiting]
        self._waiting = []
        for side, sign in ((0, 1.0), (1, -1.0)):
            self._numbers[side] = np.concatenate([self._numbers[side], sign * values])
            of_columns = np.broadcast_to(names[:, np.newaxis], values.shape)
            self._names[side] = np.concatenate([self._names[side], of_columns])
        self._rank()

    def _rank(self) -> None:
        """Keeps the first MOST of each column, and the names that they need."""
        order = sorted(range(len(self._known)), key=lambda place: os.fsencode(self._known[place]))
        ranks = np.empty(len(order), np.int64)
        ranks[order] = np.arange(len(order))
        for side in (0, 1):
            names = ranks[self._names[side]]
            kept = np.lexsort((names, self._numbers[side]), axis=0)[: self.MOST]
            self._numbers[side] = np.take_along_axis(self._numbers[side], kept, axis=0)
            self._names[side] = np.take_along_axis(names, kept, axis=0)
        used = np.unique(np.concatenate([names.ravel() for names in self._names]))
        self._known = [self._known[order[rank]] for rank in used.tolist()]
        self._names = [np.searchsorted(used, names) for names in self._names]
