"""Tests blnits measure with a fake panel and a fake meter; the tool, the pipes, the files and the signals are real."""

import json
import os
import pathlib
import pty
import random
import re
import shlex
import signal
import subprocess
import time

import pytest

TOOL = os.environ["BLNITS_TOOL"]
TESTS = pathlib.Path(__file__).resolve().parent
PANEL = ["--set", "set_level {level}"]
METER = ["--meter", "spotread -x"]
LEVELS = ["--levels", "0..255:32"]


class Bench:
    """A folder with the panel's level, the meter's breaches and the file of readings."""

    def __init__(self, folder):
        self.folder = folder
        self.file = folder / "out.csv"
        self.variables = dict(os.environ, FAKE_FOLDER=str(folder), PATH=f"{TESTS}:{os.environ['PATH']}", LC_ALL="C")
        (folder / "level").write_text("0\n")

    def command(self, *arguments):
        return [TOOL, "measure", *map(str, arguments)]

    def usual(self, *arguments):
        return self.command(*PANEL, *METER, *LEVELS, "-o", self.file, *arguments)

    def start(self, command, typed=None, **fakes):
        return subprocess.Popen(
            command, cwd=self.folder, env={**self.variables, **fakes}, text=True, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, stdin=subprocess.DEVNULL if typed is None else subprocess.PIPE)

    def run(self, command, typed=None, **fakes):
        """Status, standard output, standard error."""
        process = self.start(command, typed, **fakes)
        out, errors = process.communicate(typed, timeout=60)
        breaches = self.folder / "breaches"
        assert not breaches.exists(), breaches.read_text()
        return process.returncode, out, errors

    def rows(self, path=None):
        lines = (path or self.file).read_text().split("\n")[:-1]  # without a torn one
        return [line.split(",") for line in lines if line[0].isdigit()]

    def measured(self, path=None):
        """All columns but the time, by the number of the reading."""
        return sorted((int(row[6]), *row[:5]) for row in self.rows(path))

    def level(self):
        return int((self.folder / "level").read_text().split()[0])


@pytest.fixture
def bench(tmp_path):
    return Bench(tmp_path)


def nits(level):
    """What the fake meter reads."""
    return 0.3 + 500.0 * (level / 255.0) ** 2.2 * (1.0 + (level * 7919 % 101 - 50) / 50000.0)


SESSIONS = {
    # name: (script, start, further options, status, what is told, rows of 8)
    "undisturbed": ("", "", [], 0, "", 8),
    "misread": ("ok,misread", "", [], 0, "is repeated: spotread: Spot read failed due to misread (the light", 8),
    "communication": ("communication", "", [], 0, "due to communication problem.", 8),
    "position": ("position", "", [], 0, "wrong position (Ambient filter should be removed)", 8),
    "all_fail_once": ("misread,communication,position,misread", "", ["--retries", "4"], 0, "is repeated", 8),
    "skipped": ("ok,misread,misread,misread", "", [], 1, "level 32, coverage 100 % is skipped: spotread:", 7),
    "no_retries": ("position", "", ["--retries", "0"], 1, "level 0, coverage 100 % is skipped: spotread:", 7),
    "late": ("late,ok,late", "", ["--timeout", "3"], 0, "", 8),
    "silence": ("ok,silence", "", ["--timeout", "0.3"], 2, "spotread is silent for 0.3 s (--timeout)", 1),
    "fatal": ("ok,ok,fatal", "", [], 2, "spotread: Got fatal error 'Hardware failure' (the lamp)", 2),
    "death": ("ok,death", "", [], 2, "spotread ended: Killed", 1),
    "half_a_result": ("ok,ok,half", "", [], 2, "spotread ended", 2),
    "ambient": ("ambient", "", [], 2, "spotread printed \"Result is Y: 12.000000", 0),
    "no_device": ("", "no_device", [], 2, "spotread: Failed to initialise communications", 0),
    "calibration": ("ok,calibration", "calibration", ["--prompt"], 0, "or place on the calibration reference", 8),
    "bad_calibration": ("", "calibration_fails", ["--prompt"], 0, "Calibration failed with 'Sensor saturated'", 8),
    "nobody_there": ("", "calibration", [], 2, "a user is needed: the meter asks", 0),
}


@pytest.mark.parametrize("split", [False, True])
@pytest.mark.parametrize("name", SESSIONS)
def test_session(bench, name, split):
    script, start, options, status, told, rows = SESSIONS[name]
    fakes = {"FAKE_SCRIPT": script, "FAKE_START": start, **({"FAKE_SPLIT": "1"} if split else {})}
    typed = "\n" * 10 if "--prompt" in options else None
    got, out, errors = bench.run(bench.usual("--restore", "77", *options), typed, **fakes)
    assert (got, len(bench.rows())) == (status, rows), errors
    assert told in errors
    assert bench.level() == 77
    # The session is ended in its own way if the meter still answers.
    assert (bench.folder / "ended").exists() == (status < 2)
    for row in bench.rows():
        assert float(row[1]) == float(row[4]) == pytest.approx(nits(int(row[0])), abs=1e-6)
    if status != 0:
        assert status == 1 or "--resume goes on there" in errors
        got, out, errors = bench.run(bench.usual("--resume", "--prompt"), "\n" * 10)
        assert (got, errors.count("is repeated"), len(bench.measured())) == (0, 0, 8)
        assert [row[0] for row in bench.measured()] == list(range(1, 9))


def test_the_meter_must_be_started_before_the_panel_changes(bench):
    for meter, told in [("spotread -O", "found -O"), ("/nowhere/spotread", "cannot be started: No such file"),
                        ("ls", "--read takes other programs"), ("spotread 'x", "the quote ' does not end")]:
        got, _, errors = bench.run(bench.command(*PANEL, "--meter", meter, *LEVELS, "-o", bench.file))
        assert (got, bench.level(), bench.file.exists()) == (2, 0, False)
        assert told in errors


def test_killed_fifty_times(bench):
    """Runs are killed at random moments, until fifty kills are spent. When a file is complete at last, its readings are
    those of a run that nobody killed; then a new file begins."""
    plan = ["--levels", "0..99", "--repeats", "2", "--order", "shuffled", "--seed", "7", "--reference", "255",
            "--reference-every", "50", *PANEL, *METER]
    whole = bench.folder / "whole.csv"
    began = time.monotonic()
    assert bench.run(bench.command(*plan, "-o", whole))[0] == 0
    duration = time.monotonic() - began
    chance = random.Random(5)
    kills = 0
    counts = set()
    complete = 0
    while kills < 50 or complete == 0:
        process = bench.start(bench.command(*plan, "-o", bench.file, "--resume"))
        if kills < 50:
            time.sleep(chance.uniform(0.0, duration / 3))
            process.kill()
        process.communicate()
        if process.returncode == -signal.SIGKILL:
            kills += 1
            if bench.file.exists():
                counts.add(len(bench.rows()))
                with bench.file.open("a") as file:  # a row that a crash has torn
                    file.write(chance.choice(["", "17,3.2", "17,3.25,100,standard,3.25,2026-11-23T12:00:00.000Z,1"]))
        else:
            assert process.returncode == 0
            assert bench.measured() == bench.measured(whole)
            assert [row[0] for row in bench.measured()] == list(range(1, 201))
            complete += 1
            bench.file.unlink()
    assert len(counts) > 10, "the kills must come at different moments"
    wait_for(lambda: not meters_of(bench))  # A killed run must not leave its meter behind.


def meters_of(bench):
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*/environ"):
        try:
            if f"FAKE_FOLDER={bench.folder}\0".encode() in entry.read_bytes():
                found.append((entry.parent / "cmdline").read_bytes())
        except OSError:
            pass
    return [line for line in found if b"spotread" in line]


def test_resume_refuses_what_it_does_not_continue(bench):
    assert bench.run(bench.usual())[0] == 0
    before = bench.file.read_text()
    for arguments, told in [
            ([], "expected none; --resume continues it"),
            (["--resume", "--repeats", "2"], 'found the repeats "1" in its head, expected "2"'),
            (["--resume", "--order", "down"], 'found the order "up" in its head, expected "down"'),
            (["--resume", "--coverage", "10"], 'found the coverage "100 %"'),
            (["--resume", "--levels", "0..254:32"], ""),
            (["--resume", "--levels", "1..225:32"], "found the levels"),
            (["--resume", "--hbm"], "found the mode")]:
        got, _, errors = bench.run([*bench.usual(), *arguments] if "--levels" not in arguments else
                                   bench.command(*PANEL, *METER, "-o", bench.file, *arguments))
        assert got == (2 if told else 0), errors
        assert told in errors
    assert bench.rows() == [line.split(",") for line in before.splitlines() if line[0].isdigit()]
    for text, told in [("level,nits\n1,2\n", "1: found another file"),
                       (before + before.splitlines()[-2] + "\n", "expected each reading once"),
                       (before + "1,2,3\n", 'found "1,2,3", expected level,nits'),
                       (before.replace(",reading\n", "\n", 1), "expected the columns")]:
        text = text if "once" not in told else before + [row for row in before.splitlines() if row[0] == "0"][0] + "\n"
        bench.file.write_text(text)
        got, _, errors = bench.run(bench.usual("--resume"))
        assert (got, bench.file.read_text()) == (2, text)
        assert told in errors


def test_a_shuffled_order_goes_on_with_the_seed_of_the_file(bench):
    plan = bench.command(*PANEL, *METER, "--levels", "0..49", "--order", "shuffled", "-o", bench.file)
    assert bench.run(plan, FAKE_SCRIPT="ok," * 20 + "fatal")[0] == 2
    taken = bench.rows()
    assert bench.run([*plan, "--resume"])[0] == 0
    rows = bench.rows()
    assert (rows[:20], [int(row[6]) for row in rows]) == (taken, list(range(1, 51)))
    levels = [int(row[0]) for row in rows]
    assert sorted(levels) == list(range(50)) != levels


def test_two_cannot_write_one_file(bench):
    first = bench.start(bench.usual(), FAKE_SCRIPT="ok,silence")
    wait_for(lambda: bench.file.exists() and len(bench.rows()) == 1)
    got, _, errors = bench.run(bench.usual("--resume"))
    assert (got, "another process writes to it" in errors) == (2, True)
    first.terminate()
    assert (first.wait(20), len(bench.rows())) == (-signal.SIGTERM, 1)
    first.communicate()


def wait_for(holds):
    end = time.monotonic() + 20
    while not holds():
        assert time.monotonic() < end
        time.sleep(0.005)


def test_readings_files_are_what_import_and_verify_take(bench):
    """Comments, further columns, several coverages and modes."""
    table = ["--levels", "0..255:15", "--prompt", "--coverage", "10", "100", "--repeats", "2"]
    assert bench.run(bench.command(*PANEL, *METER, *table, "-o", bench.file), "\n\n")[0] == 0
    # A comment may quote what spotread says.
    bench.file.write_text("# to take a reading:\n" + bench.file.read_text())
    made = bench.folder / "backlight_calib_made.xml"
    got, out, errors = bench.run([TOOL, "import", "--readings", bench.file, "--gamma", "2.2", "--minimum-bl", "1",
                                  "--max-bl", "255", "--max-os-bl", "255", "-o", made])
    assert got == 0, errors
    assert ": 18 levels from out.csv" in out and " of 2 readings" in out
    got, out, _ = bench.run([TOOL, "verify", made, bench.file, "--max-nits", "0.001"])
    assert (got, out.splitlines()[-1]) == (0, "0 of 72 readings beyond the limit")
    bench.file.unlink()
    assert bench.run(bench.usual("--hbm", "-c", "10"))[0] == 0
    assert {tuple(row[2:4]) for row in bench.rows()} == {("10", "hbm")}


def test_drift_is_told_and_taken_out(bench):
    """The panel loses 4 per cent of its first luminance in each second; references lie between the readings."""
    fakes = {"FAKE_DRIFT": f"0.04@{time.time()}"}
    arguments = ["--reference", "200", "--reference-every", "5", "--levels", "60..240:4", "--settle", "0.02"]
    got, out, _ = bench.run(bench.command(*PANEL, *METER, *arguments, "-o", bench.file, "--correct-drift"), **fakes)
    assert got == 0
    change = float(re.search(r"\(([-+.\d]+) %, largest", out)[1])
    assert change < -3
    start = [line.split(",") for line in bench.file.read_text().splitlines() if line.startswith("# reference,")]
    first = float(start[0][3]) / nits(200)
    wrong = [abs(float(row[4]) / nits(int(row[0])) / first - 1) for row in bench.rows()]
    right = [abs(float(row[1]) / nits(int(row[0])) / first - 1) for row in bench.rows()]
    assert max(wrong) > 0.025 and max(right) < 0.004
    corrected = bench.rows()
    # Both values stay, so that the correction can be taken back and made again.
    for option, column in [([], 4), (["--correct-drift"], 1)]:
        assert bench.run(bench.command(*PANEL, *METER, *arguments, "-o", bench.file, "--resume", *option))[0] == 0
        assert [row[1] for row in bench.rows()] == [row[column] for row in corrected]
        assert [row[4] for row in bench.rows()] == [row[4] for row in corrected]
        assert bench.file.read_text().count("# drift,") == 1


def test_a_reading_counts_when_two_agree(bench):
    script = "off30,off10,ok,ok,ok,off2,off1,off0.5"
    assert bench.run(bench.usual("--stable", "0.6"), FAKE_SCRIPT=script)[0] == 0
    rows = bench.measured()
    assert float(rows[0][5]) == pytest.approx(nits(0), rel=1e-5)
    assert float(rows[1][5]) == pytest.approx(nits(32) * 1.005, rel=1e-5)
    bench.file.unlink()
    restless = ",".join(["ok,off5"] * 40)
    got, out, errors = bench.run(bench.usual("--stable", "1", "--retries", "0"), FAKE_SCRIPT=restless)
    assert got == 1 and "is skipped: not stable after 21 readings" in errors
    assert out.splitlines()[1] == "missing: reading 1, level 0, coverage 100 %"


def test_commands_get_exactly_their_words(bench):
    """No shell: quotes keep words together, and nothing in them is executed."""
    panel = bench.folder / "a panel"
    panel.write_text('#!/bin/sh\nfor word in "$@"; do echo "$word"; done >> words\necho "${2#l=}" > level\n')
    meter = bench.folder / "meter"
    meter.write_text('#!/bin/sh\ncat level\n')
    for file in [panel, meter]:
        file.chmod(0o755)
    command = bench.command("--set", f"'{panel}'  \"$(touch evil); it's\" l={{level}} ''", "--read", meter, *LEVELS,
                            "-o", bench.file)
    assert bench.run(command)[0] == 0
    assert [float(row[1]) for row in bench.rows()] == [float(row[0]) for row in bench.rows()]
    assert (bench.folder / "words").read_text().splitlines()[:3] == ["$(touch evil); it's", "l=0", ""]
    assert not (bench.folder / "evil").exists()
    assert "\n# panel: command 'the" not in bench.file.read_text()


READERS = {
    # name: (the meter's script, --from, status, nits or what is told)
    "number": ("echo 12.5", [], 0, 12.5),
    "header": ("echo '# x'; echo 'nits'; echo 12.5", [], 0, 12.5),
    "columns": ("printf 'x,nits\\n0.3,12.5\\n'", ["--from", "csv"], 0, 12.5),
    "spotread": ("echo ' Result is XYZ: 11.0 12.5 13.0, Yxy: 12.5 0.3 0.3'", ["--from", "spotread"], 0, 12.5),
    "two": ("echo 1; echo 2", [], 1, r'meter printed "1\x0a2", expected one reading'),
    "text": ("printf 'dark\\033[31m\\n'", [], 1, r'meter printed "dark\x1b[31m", expected'),
    "nothing": ("true", [], 1, 'meter printed "", expected one reading'),
    "failure": ("echo 12.5; echo first >&2; echo no device >&2; exit 3", [], 1, "meter failed: no device"),
    "crash": ("kill -SEGV $$", [], 1, "meter failed: Segmentation fault"),
    "flood": ("yes", [], 2, "meter printed more than 1048576 bytes"),
    "silence": ("sleep 60", ["--timeout", "0.3"], 2, "meter does not end within 0.3 s (--timeout)"),
    "heir": ("echo 12.5; sleep 5 &", [], 0, 12.5),
}


@pytest.mark.parametrize("name", READERS)
def test_reader(bench, name):
    script, options, status, expected = READERS[name]
    meter = bench.folder / "meter"
    meter.write_text("#!/bin/sh\n" + script + "\n")
    meter.chmod(0o755)
    began = time.monotonic()
    got, out, errors = bench.run(bench.command(*PANEL, "--read", meter, "--levels", "3..4", "-o", bench.file,
                                               "--retries", "1", *options))
    assert time.monotonic() - began < 4
    assert got == status, errors
    if status == 0:
        assert [float(row[1]) for row in bench.rows()] == [expected] * 2
    else:
        assert expected in errors and "\033" not in errors and "/proc/" not in errors


def test_dry_run_and_json(bench):
    jsonschema = pytest.importorskip("jsonschema")
    path = TESTS.parent.parent / "docs" / "schemas" / "measure.json"
    schema = json.loads(path.read_text())
    check = jsonschema.Draft202012Validator(schema, resolver=jsonschema.RefResolver(path.as_uri(), schema)).validate
    plan = [*LEVELS, "--order", "shuffled", "--seed", "3", "--repeats", "2", "--settle", "0.01", "--reference", "9",
            "--reference-every", "6", "--stable", "1", "--format", "json", *PANEL, *METER]
    got, out, _ = bench.run(bench.command(*plan, "--dry-run", "--reading-seconds", "3"))
    dry = json.loads(out)
    check(dry)
    assert (got, bench.level(), dry["plan"]["readings"], dry["plan"]["reference_readings"]) == (0, 0, 16, 4)
    # Twenty readings, each twice; eight levels and four references settle, and the levels after these once more.
    assert dry["estimated_seconds"] == pytest.approx(20 * 2 * 3 + (8 + 2 * 4) * 0.01)
    got, out, _ = bench.run(bench.command(*plan, "-o", bench.file))
    check(json.loads(out))
    assert [[step["level"], step["reading"]] for step in dry["steps"]] == [
        [int(row[0]), int(row[6])] for row in bench.rows()]
    assert json.loads(out)["drift"]["standard_100"]["change_percent"] == 0
    levels = [step["level"] for step in dry["steps"]]
    assert levels[0::2] == levels[1::2] and levels != sorted(levels)
    bench.file.unlink()
    got, out, _ = bench.run(bench.command(*plan, "-o", bench.file), FAKE_SCRIPT=",".join(["misread"] * 3))
    check(json.loads(out))
    assert (got, json.loads(out)["readings"]) == (0, 16)
    bench.file.unlink()
    got, out, _ = bench.run(bench.command(*plan, "-o", bench.file), FAKE_SCRIPT=",".join(["ok"] * 2 + ["misread"] * 3))
    check(json.loads(out))
    assert got == 1 and json.loads(out)["missing"] == dry["steps"][:1]


def test_levels_are_those_of_plan(bench):
    levels = bench.folder / "levels.txt"
    got, planned, _ = bench.run([TOOL, "plan", "0..255", "--count", "20"])
    levels.write_text(planned)
    for arguments in [["--levels", levels], ["--levels", "0..255", "--count", "20"]]:
        got, out, _ = bench.run(bench.command(*PANEL, *METER, *arguments, "--dry-run", "--format", "json"))
        assert [step["level"] for step in json.loads(out)["steps"]] == [int(line) for line in planned.split()]


def test_a_terminal_shows_a_bar_and_a_pipe_lines(bench):
    _, _, errors = bench.run(bench.command(*PANEL, *METER, "--levels", "0..99", "-o", bench.file))
    assert 9 <= errors.count("\n") <= 10
    assert re.match(r"blnits: 10 of 100 readings, level 10, last \d+\.\d{4} nits, \d+ s left\n", errors)
    bench.file.unlink()
    try:
        child, terminal = pty.fork()
    except OSError:
        pytest.skip("this machine has no terminals")
    if child == 0:
        os.environ.update(bench.variables, TERM="xterm", FAKE_START="calibration")
        os.execv(TOOL, bench.usual())
    seen = b""
    while True:
        try:
            piece = os.read(terminal, 4096)
        except OSError:  # the end of a terminal
            break
        if not piece:
            break
        if b"press Enter" in seen + piece and b"press Enter" not in seen:
            os.write(terminal, b"\n")
        seen += piece
    assert os.waitpid(child, 0)[1] == 0
    assert b"or place on the calibration reference" in seen
    assert b"[#####-----] 4 of 8 readings, level 128, last 58.6438 nits, 1 s left" in seen
    assert b"8 of 8 readings\r\n" in seen
    os.close(terminal)


# /sys/class/backlight of a namespace.
IN_NAMESPACE = ["sh", str(TESTS.parent / "in_namespace")]


def has_namespace(folder):
    mounts = "mount -t tmpfs none /sys/class"
    return subprocess.run([*IN_NAMESPACE, "sh", "-c", mounts], cwd=folder, capture_output=True).returncode == 0


class Backlight(Bench):
    def __init__(self, folder):
        super().__init__(folder)
        self.panel = folder / "backlight" / "panel"
        self.panel.mkdir(parents=True)
        for name, value in {"brightness": 120, "max_brightness": 255, "bl_power": 0}.items():
            self.set(name, value)
        self.variables["FAKE_LEVEL"] = "/sys/class/backlight/panel/brightness"

    def set(self, name, value):
        (self.panel / name).write_text(f"{value}\n")

    def inside(self, *arguments, mounts=""):
        command = shlex.join([*self.command(*METER, "-o", self.file), *map(str, arguments)])
        return [*IN_NAMESPACE, "sh", "-ec",
                "mount -t tmpfs none /sys/class; mkdir /sys/class/backlight\n"
                f"mount --bind {self.folder}/backlight /sys/class/backlight\n{mounts}\nexec {command}"]

    def usual(self, *arguments):
        return self.inside("--backlight", "panel", *LEVELS, *arguments)

    def level(self):
        return int((self.panel / "brightness").read_text().split()[0])


@pytest.fixture
def backlight(tmp_path):
    if not has_namespace(tmp_path):
        pytest.skip("this machine has no mounts of its own for a command")
    return Backlight(tmp_path)


def test_a_backlight_is_driven_and_set_back(backlight):
    backlight.set("actual_brightness", 7)
    got, _, errors = backlight.run(backlight.usual())
    assert (got, backlight.level(), len(backlight.rows())) == (0, 120, 8)
    assert [float(row[1]) for row in backlight.rows()] == pytest.approx(
        [nits(level) for level in range(0, 256, 32)], abs=1e-6)
    assert errors.count("the hardware has 7 (actual_brightness)") == 1
    assert "# panel: backlight panel, levels 0 to 255" in backlight.file.read_text()


@pytest.mark.parametrize("name", ["INT", "TERM", "HUP", "QUIT", "ALRM", "USR1", "USR2", "XCPU", "VTALRM", "IO", "PWR"])
def test_a_signal_sets_the_backlight_back(backlight, name):
    process = backlight.start(backlight.usual("--reference", "200"), FAKE_SCRIPT="ok,ok,silence")
    wait_for(lambda: backlight.file.exists() and len(backlight.rows()) == 1 and backlight.level() == 32)
    process.send_signal(signal.Signals["SIG" + name])
    out, errors = process.communicate(timeout=20)
    assert (process.returncode, backlight.level()) == (-signal.Signals["SIG" + name], 120)
    assert "out.csv has 1 of 8 readings; --resume goes on there" in errors
    assert backlight.file.read_text().splitlines()[-1].startswith("# ended,")


@pytest.mark.parametrize("name", ["SEGV", "ABRT", "BUS", "FPE", "ILL", "TRAP", "SYS"])
def test_a_crash_sets_the_backlight_back(backlight, name):
    if os.environ.get("BLNITS_SANITIZED") == "1":
        pytest.skip("the sanitizer has handlers of its own")
    process = backlight.start(backlight.usual(), FAKE_SCRIPT="ok,silence")
    wait_for(lambda: backlight.file.exists() and len(backlight.rows()) == 1 and backlight.level() == 32)
    process.send_signal(signal.Signals["SIG" + name])
    process.communicate(timeout=20)
    assert (process.returncode, backlight.level()) == (-signal.Signals["SIG" + name], 120)


def test_ignored_signals_and_a_closed_pipe_do_not_end_it(backlight):
    command = backlight.usual()
    command[-1] = "trap '' HUP; " + command[-1]
    process = backlight.start(command, FAKE_SCRIPT=",".join(["late"] * 4))
    wait_for(lambda: backlight.file.exists() and len(backlight.rows()) == 1)
    process.stderr.close()
    process.send_signal(signal.SIGHUP)
    process.send_signal(signal.SIGPIPE)
    assert (process.wait(20), len(backlight.rows()), backlight.level()) == (0, 8, 120)
    process.stdout.close()


@pytest.mark.parametrize("script", ["ok,death", "ok,fatal", "ok,misread,misread,misread"])
def test_an_error_sets_the_backlight_back(backlight, script):
    assert backlight.run(backlight.usual(), FAKE_SCRIPT=script)[0] in (1, 2)
    assert backlight.level() == 120


def test_after_a_kill_the_level_from_before_comes_back(backlight):
    """The killed run has left the panel at a level of the plan; the file has the one from before."""
    process = backlight.start(backlight.usual(), FAKE_SCRIPT="ok,ok,silence")
    wait_for(lambda: backlight.file.exists() and len(backlight.rows()) == 2 and backlight.level() == 64)
    process.kill()
    process.communicate()
    assert backlight.level() == 64
    assert backlight.run(backlight.usual("--resume"))[0] == 0
    assert (backlight.level(), len(backlight.measured())) == (120, 8)
    # This run has ended well, so the level from before the next one counts.
    backlight.set("brightness", 50)
    assert backlight.run(backlight.usual("--resume"))[0] == 0
    assert backlight.level() == 50


BACKLIGHTS = {
    # name: (arguments, attributes, mounts, what is told)
    "slash": (["--backlight", "a/b", *LEVELS], {}, "", 'found "a/b", expected the name of a folder'),
    "dots": (["--backlight", "..", *LEVELS], {}, "", 'found "..", expected the name of a folder'),
    "missing": (["--backlight", "other", *LEVELS], {}, "", "/sys/class/backlight/other: there is no such backlight"),
    "off": (["--backlight", "panel", *LEVELS], {"bl_power": 4}, "", "bl_power: the backlight is off"),
    "odd": (["--backlight", "panel", *LEVELS], {"max_brightness": "many"}, "", "max_brightness: cannot be read"),
    "too_high": (["--backlight", "panel", "--levels", "0..256"], {}, "", "has level 256, expected at most 255"),
    "high_reference": (["--backlight", "panel", *LEVELS, "--reference", "300"], {}, "", "the plan has level 300"),
    "refused": (["--backlight", "panel", *LEVELS], {},
                "mkdir /sys/class/x; mount --bind /dev/full /sys/class/backlight/panel/brightness",
                "brightness: cannot be read as a number"),
}


@pytest.mark.parametrize("name", BACKLIGHTS)
def test_a_backlight_that_cannot_be_measured(backlight, name):
    arguments, attributes, mounts, told = BACKLIGHTS[name]
    for attribute, value in attributes.items():
        backlight.set(attribute, value)
    got, _, errors = backlight.run(backlight.inside(*arguments, mounts=mounts))
    assert (got, backlight.level(), len(backlight.rows()) if backlight.file.exists() else 0) == (2, 120, 0)
    assert told in errors


def test_the_disk_is_full(backlight):
    """The readings that are on the disk count; a torn one is taken again."""
    mounts = f"mkdir {backlight.folder}/tiny; mount -t tmpfs -o size=4k none {backlight.folder}/tiny"
    target = backlight.folder / "tiny" / "out.csv"
    arguments = ["--backlight", "panel", "--levels", "0..255"]
    command = shlex.join(backlight.command(*METER, *arguments, "-o", target))
    script = backlight.inside(*arguments, mounts=mounts)
    script[-1] = script[-1][:script[-1].rindex("exec ")] + f"{command} || echo status $?; cp {target} {backlight.file}"
    _, out, errors = backlight.run(script)
    assert "status 2" in out and "cannot be written: No space left on device" in errors
    whole = len(backlight.rows())
    assert backlight.level() == 120 and 10 < whole < 255
    assert f"has {whole} of 256 readings" in errors
    assert backlight.run(backlight.inside(*arguments, "--resume"))[0] == 0
    assert [row[0] for row in backlight.measured()] == list(range(1, 257))
