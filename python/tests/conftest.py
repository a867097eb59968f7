import os
from pathlib import Path

import pytest

from backlight_nits import Panel

ROOT = Path(__file__).resolve().parents[2]
SAMPLES = sorted((ROOT / "samples").glob("*.xml"))
PHONE = ROOT / "samples/backlight_calib_oled_phone.xml"


@pytest.fixture
def phone():
    return Panel(PHONE)


@pytest.fixture(params=SAMPLES, ids=lambda path: path.stem)
def sample(request):
    return Panel(request.param)


@pytest.fixture
def tool():
    path = os.environ.get("BLNITS_TOOL")
    return path or pytest.skip("BLNITS_TOOL is not set")
