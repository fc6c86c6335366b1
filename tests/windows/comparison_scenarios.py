"""Statements, instance calls and exit codes are those of the Linux build."""
from wine_site import *

TABLES = range(1, len((ROOT / "schema/catalog.csv").read_text().splitlines()))  # a heading and a line each
EMPLOYEES = 7
ONE_CALENDAR, CALENDAR_OF_EMPLOYEE = 98, 99


def rows_changed(trace):
    return [line for line in trace.splitlines()
            if re.search(r'"affected":[1-9]', line) and not re.search("tstables|tsfullsyncs", line)]


def without_catalog(trace):
    """A process that serves several requests loads the catalog once: its statements are left out."""
    catalog = re.compile(r'(\{"op":"execute","sql":"SET DATEFORMAT YMD","affected":0\}\n)?'
                         r'\{"op":"open","sql":"[^"]*from tstables a, tstreenodes b[^"]*"\}\n')
    return catalog.sub("", trace)


class Comparison(Scenario):
    def setUp(self):
        super().setUp()
        self.calls = WORK / "linux.calls"
        self.calls.unlink(missing_ok=True)

    def linux(self, database, trace, table, method, **request):
        request = command_line(database.connection, table, method, logs("linux"), f"extract={EXTRACT}", **request)
        return subprocess.run([LINUX / "iQRXyQRXSync", request], timeout=SECONDS,
                              env=os.environ | {"QRX_SQL_TRACE": str(trace), "QRX_INSTANCE": str(self.calls)})

    def windows(self, database, trace, table, method, **request):
        request = command_line(database.connection, table, method, windows_path(logs("windows")), "ERP", **request)
        return wine(SERVICE, request, env=os.environ | {"QRX_SQL_TRACE": windows_path(trace)})

    def databases(self, name):
        return Database(f"linux.{name}"), Database(f"windows.{name}")

    @staticmethod
    def make_the_trail_new(*databases):
        """The sample's changes are older than the copies just made."""
        for database in databases:
            database.query("UPDATE tstables SET lutm = '1970-01-01 00:00:00'")

    def assert_calls_are_equal(self):
        self.assertEqual(without_the_present(self.site.calls.read_text()), without_the_present(self.calls.read_text()))

    def compare_start(self, name, here, there, table, method, **request):
        """A command-line start on each system."""
        with self.subTest(table=table, method=method, **request):
            self.setUp()
            ours, theirs = (WORK / f"{name}.{table}.{method}.{system}" for system in ("linux", "windows"))
            native = self.linux(here, ours, table, method, **request)
            foreign = self.windows(there, theirs, table, method, **request)
            self.assertEqual(foreign.returncode, native.returncode, foreign.stderr)
            self.assertEqual(native.returncode, 0)
            self.assertEqual(without_the_present(theirs.read_text()), without_the_present(ours.read_text()))
            self.assertTrue(rows_changed(theirs.read_text()), "nothing was copied")
            self.assert_calls_are_equal()

    def compare_requests(self, name, here, there, method, platform):
        """The requests for all tables through one object of the COM server, against a Linux start for each."""
        with self.subTest(method=method, platform=platform):
            self.setUp()
            ours, theirs = (WORK / f"{name}.{method}.{system}" for system in ("linux", "windows"))
            for table in TABLES:
                native = self.linux(here, ours, table, method, platform=platform, instance=0, status_key=0)
                self.assertEqual(native.returncode, 0)
            done = wine(*self.script("requests.vbs", there.connection, windows_path(logs("windows")), "ERP", platform,
                                     method, *TABLES),
                        env=os.environ | {"QRX_SQL_TRACE": windows_path(theirs)})
            self.assertEqual(done.stdout, "handled\n", done.stderr)
            self.assert_service_is_gone()
            self.assertEqual(without_catalog(without_the_present(theirs.read_text())),
                             without_catalog(without_the_present(ours.read_text())))
            self.assertGreater(len(rows_changed(theirs.read_text())), 50)
            self.assert_calls_are_equal()

    def test_every_table_for_sql_server(self):
        here, there = self.databases("sqlserver")
        for table in TABLES:
            self.compare_start("sqlserver", here, there, table, FULL)
        self.make_the_trail_new(here, there)
        self.compare_requests("sqlserver", here, there, INCREMENTAL, SQL_SERVER)

    def test_every_table_for_oracle(self):
        here, there = self.databases("oracle")
        self.compare_requests("oracle", here, there, FULL, ORACLE)
        self.make_the_trail_new(here, there)
        self.compare_requests("oracle", here, there, INCREMENTAL, ORACLE)

    def calendar_runs(self, name, platform):
        here, there = self.databases(f"calendars.{name}")
        self.compare_start(name, here, there, EMPLOYEES, FULL, platform=platform)
        self.compare_start(name, here, there, ONE_CALENDAR, FULL, platform=platform, calendar="SC01")
        self.compare_start(name, here, there, CALENDAR_OF_EMPLOYEE, FULL, platform=platform, calendar="E00002")

    def test_the_calendar_runs_for_sql_server(self):
        self.calendar_runs("sqlserver", SQL_SERVER)

    def test_the_calendar_runs_for_oracle(self):
        self.calendar_runs("oracle", ORACLE)
