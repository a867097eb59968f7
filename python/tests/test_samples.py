"""The results of the samples: the same numbers by the tool, by Panel and by Curve."""

import subprocess
import timeit
import xml.etree.ElementTree as ElementTree
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from conftest import ROOT

from backlight_nits import Panel


@pytest.mark.parametrize("hbm", [False, True])
@pytest.mark.parametrize("coverage", [10, 55, 100])
def test_tool_panel_and_curve_agree_bit_for_bit(tool, sample, coverage, hbm):
    levels = np.arange(sample.range.highest_client_level + 1)
    arguments = [tool, "nits", sample.file, "--coverage", str(coverage)] + ["--hdr"] * hbm
    numbers = "\n".join(map(str, levels))
    printed = subprocess.run(arguments, input=numbers, stdout=subprocess.PIPE, text=True, check=True).stdout
    expected = np.array(printed.split(), float)
    curve = sample.curve(coverage, hbm)
    assert len(curve) == levels.size
    for nits in (sample.nits(levels, coverage, hbm), curve.nits(levels), curve.values):
        assert nits.tobytes() == expected.tobytes()
    rising = (np.diff(expected) > 0).all()
    assert not rising or (curve.level(expected) == levels).all()

    arguments[1:2] = ["level"]
    wanted = expected[:: max(1, levels.size // 256)]
    numbers = "\n".join(map(repr, wanted.tolist()))
    printed = subprocess.run(arguments, input=numbers, stdout=subprocess.PIPE, text=True, check=True).stdout
    assert sample.level(wanted, coverage, hbm, strict=True).tolist() == list(map(int, printed.split()))


def test_numbers_of_the_file(sample):
    root = ElementTree.parse(sample.file).getroot()
    names = ("minimum_bl", "max_bl", "max_os_bl")
    assert sample.range == tuple(int(root.get(name)) for name in names)
    assert (sample.gamma, sample.threshold) == (float(root.get("gamma")), float(root.get("pcc_thresh", "1")))
    for table, path in zip(sample.tables, ("standard/nits_10", "standard/nits_100", "hbm/nits_10", "hbm/nits_100")):
        for values, column in ((table.levels, "bl_value"), (table.nits, "nits_value")):
            texts = [value.text for value in root.findall(f"measurement_data/{path}/{column}/value")]
            assert len(texts) > 1 and values.tolist() == list(map(float, texts))
            with pytest.raises(ValueError):
                values[0] = 1
    linear = sample.linear_table()
    pairs = zip(*([int(value.text) for value in root.find(name)] for name in ("linearized_bl", "panel_bl")))
    assert all(linear[linearized] == panel for linearized, panel in pairs)


def test_dimming():
    panel = Panel(ROOT / "samples/backlight_calib_lcd_small.xml")
    lut, attenuation = np.arange(panel.range.highest_panel_level + 1) // 2, np.full(len(panel.curve()), 0.9)
    levels, bright, dimmed = [60, 120, 255], [97, 210, 413], [44.699999999999996, 87.3, 200.445]
    with panel.dimming(lut, attenuation):
        curve = panel.curve()
        with pytest.raises(RuntimeError), panel.dimming(lut, attenuation):
            pass
        assert panel.nits(levels).tolist() == dimmed  # still on
        assert panel.nits(panel.level(dimmed, strict=True)).tolist() == dimmed
    assert panel.nits(levels).tolist() == bright
    assert curve.nits(levels).tolist() == dimmed
    for wrong in ((lut[1:], attenuation), (lut, attenuation[1:]), (lut - 1, attenuation), (lut[None], attenuation)):
        with pytest.raises(ValueError), panel.dimming(*wrong):
            pass
    with pytest.raises(KeyError), panel.dimming(lut.tolist(), attenuation.tolist()):
        raise KeyError
    assert panel.nits(levels).tolist() == bright


def test_threads_share_panel_and_curve(phone):
    def convert(seed):
        levels = np.random.default_rng(seed).integers(0, 300, 20000)
        return np.array_equal(phone.nits(levels, 55), curve.nits(levels), equal_nan=True)

    curve = phone.curve(55)
    with ThreadPoolExecutor(4) as pool:
        assert all(pool.map(convert, range(16)))


@pytest.mark.parametrize("dtype", [np.int64, np.uint32])
def test_a_million_levels_take_at_most_three_times_an_index(phone, dtype):
    curve = phone.curve(55)
    levels = np.random.default_rng(1).integers(0, len(curve), 1_000_000).astype(dtype)
    table = np.array(curve.values)
    assert (curve.nits(levels) == phone.nits(levels, 55)).all()
    # In turns, so that other work on the machine slows both.
    rounds = [(timeit.timeit(lambda: curve.nits(levels), number=1), timeit.timeit(lambda: table[levels], number=1))
              for _ in range(50)]
    by_curve, by_index = map(min, zip(*rounds))
    print(f"{np.dtype(dtype)}: {by_curve * 1e3:.2f} ms by curve, {by_index * 1e3:.2f} ms by index,"
          f" ratio {by_curve / by_index:.2f}")
    assert by_curve <= 3 * by_index
