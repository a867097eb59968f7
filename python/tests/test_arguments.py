"""What callers may pass: types, shapes, refused values, files, libraries."""

import copy
import ctypes
import doctest
import gc
import os
import pickle
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from conftest import PHONE, ROOT

import backlight_nits
from backlight_nits import CalibrationError, CalibrationNotFoundError, Panel, RefusedError

NAN = float("nan")
DOUBTFUL = [
    # a level, and the same as a whole number; None: it is refused
    (0, 0), (255, 255), (256, None), (-1, None), (2**32 + 7, None), (2**63, None), (2**70, None), (-(2**70), None),
    (7.0, 7), (7.5, None), (-0.0, 0), (-0.5, None), (7.0 - 2**32, None), (NAN, None), (float("inf"), None),
    (1e300, None), (np.uint8(7), 7), (np.int8(-1), None), (np.uint64(2**64 - 1), None), (np.longdouble(7), 7),
]  # fmt: skip


@pytest.mark.parametrize("level, whole", DOUBTFUL, ids=lambda value: repr(value))
def test_levels_one_by_one(phone, level, whole):
    curve = phone.curve()
    for convert in (phone.nits, curve.nits):
        nits = convert(level)
        assert type(nits) is float
        if whole is None:
            assert np.isnan(nits)
            with pytest.raises(RefusedError, match="level"):
                convert(level, strict=True)
        else:
            assert nits == curve.values[whole] == convert(level, strict=True)


def test_refused_levels_within_an_array(phone):
    curve = phone.curve()
    for array, refused in (
        (np.array([1, -1, 3, 2**40, 256]), [1, 3, 4]),
        (np.array([1, 2**64 - 1, 3, 2**32], np.uint64), [1, 3]),
        (np.array([1, NAN, 3, 1.5, -1, 2**32]), [1, 3, 4, 5]),
        (np.array([1, 300, 3, 2**32 - 1], np.uint32), [1, 3]),
    ):
        expected = [NAN if i in refused else curve.values[int(level)] for i, level in enumerate(array)]
        for convert in (phone.nits, curve.nits):
            np.testing.assert_array_equal(convert(array), expected)
            with pytest.raises(RefusedError):
                convert(array, strict=True)


def test_types_shapes_and_layouts(phone):
    curve, numbers = phone.curve(), np.arange(24)
    unaligned = np.frombuffer(b"\0" + numbers.astype(np.uint32).tobytes(), np.uint32, offset=1)
    for levels in (
        numbers.astype(np.uint8), numbers.astype(np.int16), numbers.astype(">u4"), numbers.astype(">i8"),
        numbers.astype(np.float16), numbers.reshape(2, 3, 4), np.asfortranarray(numbers.reshape(4, 6)),
        np.repeat(numbers, 2)[::2].astype(np.uint32), numbers[::-1], unaligned, phone.tables.hbm_10.levels,
        numbers[:0], numbers[:0].reshape(0, 3), numbers.astype(np.uint32)[7:].reshape(17)[0:1].reshape(()),
        np.array(7.0), numbers.tolist(), [[1, 2], [3, 4]], (1, 2), [],
    ):  # fmt: skip
        expected = np.asarray(curve.values[np.asarray(levels).astype(int)])
        for convert in (phone.nits, curve.nits):
            nits = convert(levels)
            assert isinstance(nits, np.ndarray) and nits.dtype == np.float64
            np.testing.assert_array_equal(nits, expected)
        for nits, dtype in ((curve.level(expected), np.int64), (phone.level(expected), np.float64)):
            assert nits.dtype == dtype and nits.shape == expected.shape
            np.testing.assert_array_equal(nits, np.asarray(levels))
        assert phone.level(expected, strict=True).dtype == np.int64
    for wrong in (True, [True, False], np.array([True]), "7", ["7"], None, 1j, [None], np.array([1], "M8[s]")):
        for convert in (phone.nits, curve.nits, phone.level, curve.level):
            with pytest.raises(TypeError):
                convert(wrong)


def test_luminances(phone):
    curve = phone.curve()
    highest = len(curve) - 1
    for nits, level in ((-5, 0), (0, 0), (214, 120), (214.0, 120), (1e300, highest), (NAN, highest), (10**30, highest)):
        assert curve.level(nits) == level and type(curve.level(nits)) is int
    assert (phone.level(214), type(phone.level(214))) == (120, int)
    assert phone.level(598, 55) == 270 > highest  # beyond the last point


def test_coverages(phone):
    for coverage in (0, 101, -1, 2**32 + 55):
        for refused in (phone.nits(1, coverage), phone.level(1, coverage), *phone.level([1, 2], coverage, True)):
            assert np.isnan(refused)
        for convert in (phone.nits, phone.level, lambda _, coverage, strict: phone.curve(coverage)):
            with pytest.raises(RefusedError, match="coverage"):
                convert(1, coverage, strict=True)
    for coverage in (0.55, True, "55", None, [55]):
        with pytest.raises(TypeError):
            phone.nits(1, coverage)


def test_files(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    folder = tmp_path / "a folder:3: with blanks"
    folder.mkdir()
    faulty = folder / "backlight_calib_Ä.xml"
    faulty.write_text(PHONE.read_text().replace("<value>2.685</value>", "<value></value>", 1))
    line = 1 + PHONE.read_text().split("<value>2.685</value>")[0].count("\n")
    for arguments in ((faulty,), (str(faulty),), ("Ä", [tmp_path, folder])):
        with pytest.raises(CalibrationError, match="nits_value") as caught:
            Panel(*arguments)
        error = pickle.loads(pickle.dumps(caught.value))
        assert (error.file, error.line) == (str(faulty), line)
        assert str(error) == f"{faulty}:{line}: {error.reason}"
    for name, file in (("none", None), ("none.xml", "none.xml"), (Path("none"), "none"), ("a/b", "a/b")):
        with pytest.raises(CalibrationNotFoundError) as caught:
            Panel(name)
        assert isinstance(caught.value, FileNotFoundError) and (caught.value.file, caught.value.line) == (file, None)
    for text, words in (("", "empty"), ("a\0b", "null"), ("a\0b.xml", "null")):
        with pytest.raises(ValueError, match=words):
            Panel(text)
    (tmp_path / "plain").write_bytes(PHONE.read_bytes())
    assert Panel(Path("plain")).file == "plain"
    (tmp_path / "1" / "2").mkdir(parents=True)
    (tmp_path / "1" / PHONE.name).write_bytes(PHONE.read_bytes())
    assert Panel("oled_phone", folders=[tmp_path / "1" / "2", str(PHONE.parent), tmp_path / "1"]).file == str(PHONE)


def test_memory_is_freed_once(phone):
    curve = phone.curve()
    expected = curve.nits(200)
    shared = copy.copy(phone)
    for owner in (phone, curve):
        for duplicate in (copy.deepcopy, pickle.dumps):
            with pytest.raises(TypeError):
                duplicate(owner)
    values = Panel(PHONE).curve().values  # outlives both
    others = [phone.curve(10) for _ in range(20)]  # in the memory of the curve that is gone
    del phone
    gc.collect()
    assert shared.nits(200) == expected == curve.nits(200) != others[0].nits(200)
    assert (values == curve.values).all()


def open_panel(_):
    Panel("oled_phone", [PHONE.parent] * 50)


@pytest.mark.parametrize("use", [open_panel, Panel.curve])
def test_memory_is_freed(phone, use):
    def pages():
        return int(Path("/proc/self/statm").read_text().split()[1])

    for count in (100, 2000):
        before = pages()
        for _ in range(count):
            use(phone)
    assert pages() - before < 256  # a leak takes thousands


def test_version(monkeypatch):
    header = (ROOT / "c/backlight_nits.h").read_text()
    numbers = [header.split(f"#define BLN_VERSION_{part} ")[1].split()[0] for part in ("MAJOR", "MINOR", "PATCH")]
    library = ctypes.CDLL(os.environ["BACKLIGHT_NITS_LIBRARY"])
    library.bln_version.restype = ctypes.c_char_p
    assert backlight_nits.__version__ == ".".join(numbers) == library.bln_version().decode()
    for needed in ((int(numbers[0]) + 1, 0), (int(numbers[0]), int(numbers[1]) + 1)):
        monkeypatch.setattr(backlight_nits._library, "_VERSION", needed)
        with pytest.raises(ImportError, match="version"):
            backlight_nits._library.load()


def test_printed_examples(monkeypatch):
    monkeypatch.chdir(ROOT)
    page = (ROOT / "docs/python.md").read_text().replace("```", "")
    for name, text in (("python.md", page), ("backlight_nits", backlight_nits.__doc__)):
        examples = doctest.DocTestParser().get_doctest(text, {}, name, name, 0)
        assert doctest.DocTestRunner().run(examples).failed == 0 and len(examples.examples) > 3


@pytest.mark.parametrize("library, words", [("/none.so", "libbacklight-nits-c1"), ("libc.so.6", "bln_version")])
def test_a_library_that_does_not_fit(library, words):
    environment = {**os.environ, "BACKLIGHT_NITS_LIBRARY": library}
    command = [sys.executable, "-c", "import backlight_nits"]
    run = subprocess.run(command, env=environment, stderr=subprocess.PIPE, text=True)
    assert run.returncode == 1 and "ImportError" in run.stderr and words in run.stderr
