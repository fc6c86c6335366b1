"""What the scenarios share: the processes around the service, databases, logs.

ERP, instance registry and ADO are served by test_server; the database behind its ADO is the embedded one, which
database_bridge lends to it, so that both systems copy into the same kind of database.
"""
import csv
import datetime
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
WINE = str(ROOT / "scripts/wine.sh")
WINDOWS = ROOT / "build/windows"
LINUX = ROOT / "build/release"
SAMPLE = ROOT / "sample"
WORK = WINDOWS / "scenarios"
EXTRACT = WORK / "extract"
SERVICE = str(WINDOWS / "iQRXyQRXSync.exe")
FULL, INCREMENTAL = 1, 2
SQL_SERVER, ORACLE = 1, 2
SECONDS = 120  # no call may hang
SERVICE_TYPES = len((SAMPLE / "tsmdm030.csv").read_text().strip().splitlines()) - 1

os.environ["TZ"] = "UTC"
os.environ["LC_ALL"] = "C.UTF-8"  # the names of Wine's files and arguments


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Started:
    """A program that goes on while the test does; what it prints can be read meanwhile."""

    def __init__(self, name, *arguments):
        self.file = WORK / f"{name}.out"
        with open(self.file, "w") as out:
            self.process = subprocess.Popen([WINE, *map(str, arguments)], stdout=out, stderr=out)

    def printed(self):
        return self.file.read_text().splitlines()

    def wait_for_lines(self, count):
        wait_for(lambda: len(self.printed()) >= count or self.process.poll() is not None, f"lines in {self.file}")
        return self.printed()

    def wait(self):
        self.process.wait(timeout=SECONDS)
        return self.printed()


def wine(*arguments, **options):
    return subprocess.run([WINE, *map(str, arguments)], timeout=SECONDS, text=True, capture_output=True, **options)


def wait_for(condition, what):
    end = time.monotonic() + SECONDS
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(what)
        time.sleep(0.05)


def services():
    """The service's processes that COM started."""
    listed = subprocess.run(["ps", "-eo", "args"], text=True, capture_output=True).stdout.splitlines()
    return sum(windows_path(SERVICE) in line and "-Embedding" in line for line in listed)


class Role:
    """A test_server in one of its roles."""

    def __init__(self, role, argument):
        ready = WORK / f"{role}.ready"
        ready.unlink(missing_ok=True)
        self.fault = WORK / f"{role}.ready.fault"
        self.process = subprocess.Popen(
            [WINE, str(WINDOWS / "test_server.exe"), role, str(argument), windows_path(ready)],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(ready.exists, f"the {role} classes")

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGKILL)
        self.process.wait()


class Database:
    """A fresh database with schema and catalog."""

    def __init__(self, name):
        self.file = WORK / f"{name}.db"
        for suffix in ("", "-wal", "-shm"):
            pathlib.Path(f"{self.file}{suffix}").unlink(missing_ok=True)
        self.connection = f"Provider=SQLite;Data Source={self.file}"
        self.of_server = f"Provider=MSOLEDBSQL;Data Source={self.file}"  # the same: the bridge takes any provider
        subprocess.run([LINUX / "qrxctl", "init", "--connection", self.connection], check=True, capture_output=True)

    def query(self, sql):
        return subprocess.run(["sqlite3", self.file, sql], check=True, text=True, capture_output=True).stdout.split()

    def in_use(self, table="tsmdm030"):
        return self.query(f"SELECT in_use FROM tstables WHERE tablename = '{table}'")


def logs(name):
    directory = WORK / name
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    return directory


class State:
    """What the programs keep of their runs with the logs of a directory."""

    def __init__(self, log_directory):
        self.directory = log_directory / ".qrx"

    def sheet(self, table):
        """The run sheet of a table; empty while there is none."""
        try:
            return json.loads((self.directory / "running" / table).read_text() or "{}")
        except FileNotFoundError:
            return {}

    def history(self):
        file = self.directory / "history.jsonl"
        return [json.loads(line) for line in file.read_text().splitlines()] if file.exists() else []


def text_of(directory):
    return "".join(file.read_text(errors="replace") for file in sorted(directory.glob("*.log")))


def without_the_present(text):
    """Today's moments stand as NOW: two runs are never at the same second."""
    days = {(datetime.date.today() + datetime.timedelta(d)).isoformat() for d in (-1, 0, 1)}
    text = re.sub("(" + "|".join(days) + r") \d\d:\d\d:\d\d", "NOW", text)
    return re.sub(r"\d\d:\d\d:\d\d", "TIME", text)


def command_line(connection, table, method, directory, run_parameter, instance=1, platform=SQL_SERVER, calendar="",
                 status_key=7):
    return "{}".join([connection, "", str(table), str(method), str(directory), run_parameter, str(status_key), calendar,
                      str(platform), str(instance), "SYNC"])


def write_extract(days=2, orders=5, records=8):
    """The sample with fewer calendar days, orders, records and changes: each costs a dozen calls between processes."""
    EXTRACT.mkdir()
    numbers = None
    for file in sorted(SAMPLE.glob("*.csv"), key=lambda file: file.name != "tssoc200.csv"):
        with open(file, newline="", encoding="utf-8") as stream:
            header, *rows = csv.reader(stream)
        if file.name == "calendars.csv":
            calendars = {}
            for row in rows:
                calendars.setdefault(row[0], []).append(row)
            rows = [row for calendar in calendars.values() for row in calendar[-days:]]  # those that are still asked for
        elif file.name == "tssoc200.csv":
            rows = rows[:orders]
            numbers = {row[header.index("orno")] for row in rows}
        elif re.fullmatch(r"tssoc\d+\.csv", file.name):
            rows = [row for row in rows if row[header.index("orno")] in numbers]
        elif file.name.endswith(".audit.csv"):
            kind = header.index("change")
            last = {row[kind]: row for row in rows}  # a change of every kind is left
            rows = [row for place, row in enumerate(rows) if place < records or row is last[row[kind]]]
        else:
            rows = rows[:records]
        with open(EXTRACT / file.name, "w", newline="", encoding="utf-8") as stream:
            csv.writer(stream, lineterminator="\n").writerows([header, *rows])


class Site:
    """The processes of a run of the scenarios."""

    def start(self):
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir(parents=True)
        write_extract()
        port_file = WORK / "port"
        self.bridge = subprocess.Popen([LINUX / "database_bridge", port_file])
        wait_for(lambda: port_file.exists() and port_file.read_text().endswith("\n"), "the database bridge")
        self.port = port_file.read_text().strip()
        for done in (wine(WINDOWS / "test_server.exe", "register"), wine(SERVICE, "/regserver")):
            assert done.returncode == 0, done
        self.calls = WORK / "instance.calls"
        self.start_roles()

    def start_roles(self):
        self.roles = {"erp": Role("erp", windows_path(EXTRACT)), "instance": Role("instance", windows_path(self.calls)),
                      "ado": Role("ado", self.port)}

    def stop(self):
        for role in self.roles.values():
            role.stop()
        self.bridge.kill()
        self.bridge.wait()
        wine(SERVICE, "/unregserver")

    def restart(self):
        """A new Windows session: Wine never forgets the classes of a process that was killed."""
        for role in self.roles.values():
            role.stop()
        subprocess.run([WINE, "--end-session"], check=True)
        self.start_roles()


class Scenario(unittest.TestCase):
    maxDiff = 4000
    site = Site()  # started by scenarios.py

    def setUp(self):
        self.site.calls.unlink(missing_ok=True)

    def client(self, database, directory, table, *methods):
        return wine(*self.request(database, directory, table, *methods))

    def request(self, database, directory, table, *methods):
        """A script that handles a request after the other, each through an object of its own."""
        return self.script("client.vbs", database.connection, windows_path(directory), "ERP", table, *(methods or [FULL]))

    @staticmethod
    def script(name, *arguments):
        return ["cscript.exe", "//nologo", windows_path(ROOT / "tests/windows" / name), *arguments]

    @staticmethod
    def sink(database, directory, table=2, method=FULL, connection=None):
        """The program that hears the events of a run."""
        return [WINDOWS / "event_client.exe", connection or database.connection, table, method, windows_path(directory), "ERP"]

    def called(self):
        lines = self.site.calls.read_text().splitlines() if self.site.calls.exists() else []
        return [re.sub(r"\d\d:\d\d:\d\d", "TIME", line) for line in lines]

    def assert_done(self, done):
        self.assertEqual(done.returncode, 0, f"{done.args}\n{done.stdout}{done.stderr}")

    def assert_service_is_gone(self):
        wait_for(lambda: services() == 0, "the end of the service")
