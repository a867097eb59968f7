import concurrent.futures
import json
import math
import random
import statistics
import subprocess

import numpy as np
import pytest
from conftest import PHONE, SAMPLES

from backlight_nits import Panel, lot
from backlight_nits._figures import ExactSums, Moments

TEXT = PHONE.read_text(encoding="utf-8")


def unit(factor):
    """The text of a phone panel that is brighter by a factor."""
    head, *rest = TEXT.split("<nits_value>")
    scaled = []
    for part in rest:
        values, tail = part.split("</nits_value>")
        numbers = [float(value.split("</value>")[0]) * factor for value in values.split("<value>")[1:]]
        scaled.append("".join(f"<value>{number!r}</value>" for number in numbers) + "</nits_value>" + tail)
    return "<nits_value>".join([head, *scaled])


@pytest.fixture(scope="module")
def paths(tmp_path_factory):
    """40 units: 37 that scatter, one 40 % too bright, two broken ones."""
    folder = tmp_path_factory.mktemp("units")
    scatter = random.Random(5)
    texts = [unit(scatter.gauss(1, 0.03)) for _ in range(37)]
    texts += [unit(1.4), "no XML", TEXT.replace('max_os_bl="255"', 'max_os_bl="254"')]
    for number, text in enumerate(texts):
        (folder / f"u{number:02}.xml").write_text(text, encoding="utf-8")
    return sorted(folder.iterdir())


@pytest.fixture(scope="module")
def panels(paths):
    return [Panel(path) for path in paths[:38]]


@pytest.fixture
def whole(panels):
    return summary_of(panels)


def summary_of(panels):
    summary = lot.Summary(Panel(PHONE))
    for panel in panels:
        summary.add(panel)
    return summary


def assert_same(a, b):
    """Equal JSON, but for the last digits of what is not counted."""
    if isinstance(a, dict):
        assert a.keys() == b.keys()
        for key in a:
            if key == "squares":
                np.testing.assert_allclose(a[key], b[key], rtol=1e-12, atol=1e-18)
            elif key == "jnd":
                assert a[key]["counts"] == b[key]["counts"]
                sums = [[math.fsum(terms) for terms in each[key]["sums"]] for each in (a, b)]
                np.testing.assert_allclose(*sums, rtol=1e-12)
            else:
                assert_same(a[key], b[key])
    else:
        assert a == b


@pytest.mark.parametrize("kind", ["alike", "cancelling", "of any size", "black"])
def test_sums_are_exact_in_any_order(kind):
    generator = np.random.default_rng(1)
    rows = {
        "alike": 250 * (1 + 0.03 * generator.standard_normal((500, 3))),
        "cancelling": np.concatenate([generator.standard_normal((200, 3)) * scale for scale in (1e9, -1e9, 1e-9)]),
        "of any size": 10.0 ** generator.uniform(-300, 9, (300, 3)),
        "black": np.zeros((4, 3)),
    }[kind]
    exact = [math.fsum(column) for column in rows.T]
    canonical = None
    for parts in (1, 2, 7):
        generator.shuffle(rows)
        merged = ExactSums(3)
        for part in np.array_split(rows, parts):
            sums = ExactSums(3)
            for row in part:
                sums.add(row)
            merged.merge(sums)
        terms = merged.terms()
        assert [column[0] if column else 0.0 for column in terms] == exact
        assert canonical in (None, terms)
        assert ExactSums.from_terms(terms).terms() == terms
        canonical = terms


def test_moments_are_those_of_all_numbers():
    generator = np.random.default_rng(2)
    rows = 300 * (1 + 1e-4 * generator.standard_normal((1000, 2)))
    counted = generator.random((1000, 2)) < 0.7
    merged = Moments(2)
    for part, of_part in zip(np.array_split(rows, 5), np.array_split(counted, 5)):
        moments = Moments(2)
        for row, of_row in zip(part, of_part):
            moments.add(np.where(of_row, row, math.nan), of_row)
        merged.merge(moments)
    for column in (0, 1):
        numbers = rows[counted[:, column], column].tolist()
        assert merged.counts[column] == len(numbers)
        assert merged.means()[column] == statistics.mean(numbers)
        assert merged.deviations()[column] == pytest.approx(statistics.stdev(numbers), rel=1e-12)


def test_parts_merge_in_any_order_to_the_whole(whole, panels):
    expected = json.loads(whole.to_json())
    shuffled = random.Random(3).sample(panels, len(panels))
    parts = [summary_of(part) for part in (shuffled[:1], shuffled[1:20], [], shuffled[20:])]
    merged = parts[2].merge(parts[3]).merge(parts[0]).merge(parts[1])
    assert_same(json.loads(merged.to_json()), expected)


def test_json_is_read_as_it_was_written(whole):
    whole.reject("x\udcff.xml", "odd name")
    for summary in (whole, whole.empty()):
        assert lot.Summary.from_json(summary.to_json()).to_json() == summary.to_json()


def test_figures_are_those_of_all_units(whole, panels):
    for key, (coverage, hbm) in lot.TABLES.items():
        table = whole.tables[key]
        rows = np.array([panel.nits(table.levels, coverage, hbm) for panel in panels])
        assert table.nits.counts.tolist() == [38] * 67
        np.testing.assert_allclose(table.nits.means, rows.mean(axis=0), rtol=1e-14)
        np.testing.assert_allclose(table.nits.deviations, rows.std(axis=0, ddof=1), rtol=1e-12)
        assert (table.nits.least == rows.min(axis=0)).all() and (table.nits.greatest == rows.max(axis=0)).all()
        for share in (0, 0.01, 0.5, 0.95, 1):
            exact = np.sort(rows, axis=0)[max(1, math.ceil(share * 38)) - 1]
            np.testing.assert_allclose(table.nits.percentiles(share), exact, rtol=lot.SKETCH_ERROR)
        assert (np.diff(table.jnd.means) > 0).all()
    # 130.0653 nits are JND 512.
    assert np.interp(130.0653, whole.tables["standard_100"].nits.means, whole.tables["standard_100"].jnd.means) == (
        pytest.approx(512, abs=1)
    )


def test_outlier_is_named_with_its_worst_level(whole, paths):
    units, complete = whole.outliers()
    assert [outlier.unit for outlier in units] == [str(paths[37])] and complete
    table = whole.tables[units[0].table]
    median = np.interp(units[0].level, table.levels, table.nits.percentiles(0.5))
    assert units[0].score > 5 and units[0].nits == pytest.approx(1.4 * median, rel=0.03)
    assert not whole.outliers(100).units
    assert not whole.outliers(0).complete


@pytest.mark.parametrize(
    "change, reason",
    [
        (('max_os_bl="255"', 'max_os_bl="254"'), "expected the lot's minimum_bl 16, max_bl 4095, max_os_bl 255"),
        (('gamma="2.2"', 'gamma="nan"'), "expected finite numbers"),
        (("<value>2.685</value>", "<value>-1</value>"), "found -1.0 nits at level 1, expected 0 to 1000000000 nits"),
        (("<value>2.685</value>", "<value>1e10</value>"), "found 10000000000.0 nits at level 1"),
        (("<value>3839</value> <value>4095<", "<value>3839</value> <value>4094<"), "found 4095 linearized levels"),
    ],
)
def test_unit_that_does_not_fit_changes_nothing(whole, tmp_path, change, reason):
    path = tmp_path / "odd.xml"
    path.write_text(TEXT.replace(*change, 1), encoding="utf-8")
    before = whole.to_json()
    with pytest.raises(ValueError, match=reason):
        whole.add(Panel(path))
    assert whole.to_json() == before


def test_parts_of_other_lots_do_not_merge(whole):
    for other in (lot.Summary(Panel(SAMPLES[0])), lot.Summary(Panel(PHONE), [1, 2, 255])):
        with pytest.raises(ValueError, match="must be alike, but differ in: .*levels"):
            whole.merge(other)
    for levels in ([], [256], [-1], [0.5]):
        with pytest.raises(ValueError, match="whole numbers from 0 to 255"):
            lot.Summary(Panel(PHONE), levels)


@pytest.mark.parametrize(
    "place, value, message",
    [
        ("schema.version", 2, "schema: expected version 1"),
        ("units", -1, "units: expected a whole number"),
        ("units", True, "units: expected a whole number"),
        ("units", 39, r"sketch\[0\]: expected counts of 39 units"),
        ("range.max_os_bl", 200, r"levels\[56\]: expected a whole number from 0 to 200"),
        ("rejected.first", [{"file": "a"}], r'rejected.first\[0\]: expected an object with "reason"'),
        ("gamma", "2", "gamma: expected an array"),
        ("gamma", [1e300], r"gamma\[0\]: expected a number"),
        ("gamma", [1.0] * 41, "gamma: expected at most 40"),
        ("linear_table", {}, "linear_table: expected an array"),
        ("names", [], r"darkest\[0\]\[0\]\[1\]: expected a whole number from 0 to -1"),
        ("tables.hbm_10", None, 'tables.hbm_10: expected an object with "levels"'),
        ("tables.hbm_10.levels", [2, 1], "levels: expected levels that rise"),
        ("tables.hbm_10.nits.sums", [], "nits.sums: expected an array of 67 values"),
        ("tables.hbm_10.nits.least", [1e5] * 67, "expected least luminances of at most"),
        ("tables.hbm_10.jnd.squares", [-1] + [0] * 66, r"squares\[0\]: expected a number that is not negative"),
        ("tables.hbm_10.sketch", [[[5, 38], [5, 0]]] + [[]] * 66, r"sketch\[0\]\[1\]: expected a bucket above"),
        ("tables.hbm_10.darkest", [[]] * 67, r"darkest\[0\]: expected an array of 32 values"),
    ],
)
def test_foreign_text_is_refused(whole, place, value, message):
    partial = json.loads(whole.to_json())
    *path, last = place.split(".")
    target = partial
    for key in path:
        target = target[key]
    target[last] = value
    with pytest.raises(ValueError, match=message):
        lot.Summary.from_json(json.dumps(partial))


@pytest.mark.parametrize("text", ["", "[]", "null", "[" * 100000, '{"schema": 1}', '{"units": NaN}'])
def test_other_text_is_refused(text):
    with pytest.raises(ValueError):
        lot.Summary.from_json(text)


class Map:
    """The least that an executor must have."""

    map = staticmethod(map)


def test_executors_give_the_same_lot(whole, paths):
    expected = whole
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for client in (Map, pool):
            found = lot.distributed((path for path in paths), client, batch=7)
            assert found.rejected.count == 2 and found.units == 38
            reasons = list(found.rejected.first.values())
            assert "u38.xml" in reasons[0] and "max_os_bl 254" in reasons[1]
            found.rejected = expected.rejected
            assert_same(json.loads(found.to_json()), json.loads(expected.to_json()))


def test_lot_without_units_is_refused(paths):
    with pytest.raises(ValueError, match="at least one file"):
        lot.distributed([], Map)
    with pytest.raises(ValueError, match="none of the first 2 of 2 files loads\n.*u38.xml"):
        lot.distributed([str(paths[38]), "missing.xml"], Map)


def test_tool_and_package_read_each_other(tool, whole, paths, tmp_path):
    def run(*arguments):
        return subprocess.run([tool, "lot", *arguments], check=True, stdout=subprocess.PIPE, text=True).stdout

    of_tool = run(paths[0].parent, "--partial")
    read = lot.Summary.from_json(of_tool)
    assert read.rejected.count == 2
    read.rejected = whole.rejected
    assert_same(json.loads(read.to_json()), json.loads(whole.to_json()))
    half = tmp_path / "half.json"
    half.write_text(summary_of([Panel(path) for path in paths[:20]]).to_json(), encoding="utf-8")
    other = run(half, *paths[20:38], "--partial")
    assert_same(json.loads(other), json.loads(whole.to_json()))
    report = json.loads(run(half, *paths[20:38], "--format", "json"))
    assert [outlier["file"] for outlier in report["outliers"]] == [str(paths[37])]
    assert report["outliers"][0]["score"] == pytest.approx(whole.outliers().units[0].score, rel=1e-9)


def test_counts_near_the_largest_do_not_wrap():
    many = Moments.of(np.array([2**52]), ExactSums.from_terms([[2.0**52]]), np.array([0.0]))
    other = Moments.of(np.array([2**52]), ExactSums.from_terms([[2.0**53]]), np.array([0.0]))
    many.merge(other)
    assert many.squares[0] == 2.0**51 and many.means()[0] == 1.5
