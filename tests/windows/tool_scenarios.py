"""The operator's tool on Windows: options, files and variables beyond ASCII."""
from wine_site import *

TOOL = str(WINDOWS / "qrxctl.exe")
WORDS = ("failed", "in use", "stopped by the guard", "stopped")


def closing_table(done):
    """The rows of the closing table: table, copied, removed, rows now, and what ended the copy if not its end."""
    figure, word = r"([\d,]+|-)", "(?:  (" + "|".join(WORDS) + "))?"
    row = re.compile(rf"(t\w+) +{figure} +{figure} +{figure} +{figure} +[\d.]+{word}")
    found = [row.fullmatch(line) for line in done.splitlines()]
    return [" ".join(filter(None, match.group(1, 2, 3, 5, 6))) for match in found if match]


def unwrapped(text):
    """The facts without what shapes them for a screen."""
    return " ".join(text.split())


def cut_extract(name, table):
    """An export that wrote no more than the heading of a table."""
    extract = WORK / name
    shutil.copytree(EXTRACT, extract)
    file = extract / f"{table}.csv"
    file.write_text(file.read_text(encoding="utf-8").splitlines()[0] + "\n", encoding="utf-8")
    return f"extract={windows_path(extract)}"


class Tool(Scenario):
    def test_both_programs_say_the_same_version(self):
        tool, service = wine(TOOL, "--version"), wine(WINDOWS / "iQRXyQRXSync.exe", "--version")
        self.assert_done(tool)
        self.assert_done(service)
        self.assertRegex(tool.stdout, r"^qrxctl \d+\.\d+\n$")
        self.assertEqual(service.stdout.replace("iQRXyQRXSync", "qrxctl"), tool.stdout)

    def test_options_a_file_and_variables_may_hold_any_letter(self):
        database, directory = Database("Prüfung"), logs("Protokolle für Łódź")
        erp = WORK / "Auszüge"
        shutil.copytree(EXTRACT, erp)
        config = WORK / "Größen.ini"
        config.write_text(f'erp="extract={windows_path(erp)}"\n'.replace("\\", "\\\\"), encoding="utf-8")
        variables = {"QRXCTL_LOG_DIR": windows_path(directory), "QRXCTL_CONFIG": windows_path(config)}
        copied = wine(TOOL, "--connection", database.connection, "copy", "tsmdm030", "--full", env=os.environ | variables)
        self.assert_done(copied)
        self.assertEqual(closing_table(copied.stdout), [f"tsmdm030 {SERVICE_TYPES} 0 {SERVICE_TYPES}"])
        self.assertEqual(database.query("SELECT count(*) FROM tsmdm030"), [str(SERVICE_TYPES)])
        self.assertIn("tsmdm030", text_of(directory))

        of_variable = wine(TOOL, "status", env=os.environ | {"QRXCTL_CONNECTION": database.connection})
        self.assert_done(of_variable)
        self.assertIn("tsmdm030", of_variable.stdout)

    def test_a_table_is_named_as_it_was_written(self):
        database = Database("Namen")
        refused = wine(TOOL, "--connection", database.connection, "copy", "Aufträge", "--full")
        self.assertEqual(refused.returncode, 64)
        self.assertEqual(refused.stderr, 'qrxctl: no table "Aufträge" in the catalog\n')

    def test_a_file_that_is_missing_is_named_as_it_was_written(self):
        refused = wine(TOOL, "--config", "Z:\\Ablage\\Größen.ini", "--connection", "c", "status")
        self.assertEqual(refused.returncode, 64)
        self.assertIn("Z:\\Ablage\\Größen.ini", refused.stderr)

    def test_a_sample_is_written_where_the_option_says(self):
        directory = WORK / "Muster für Łódź"
        self.assert_done(wine(TOOL, "sample", windows_path(directory), "--orders", "3"))
        self.assertTrue((directory / "tssoc200.csv").exists())


class Trust(Scenario):
    """What keeps a copy from doing harm, and what is known of it afterwards."""

    def test_a_copy_that_would_empty_a_table_is_stopped_by_the_guard(self):
        database, directory = Database("guarded"), logs("guarded")
        place = ["--connection", database.of_server, "--log-dir", windows_path(directory)]
        self.assert_done(wine(TOOL, *place, "--erp", "ERP", "copy", "tsmdm030", "--full"))

        cut = cut_extract("cut for the tool", "tsmdm030")
        guarded = wine(TOOL, *place, "--erp", cut, "copy", "tsmdm030", "--full")

        self.assertEqual(guarded.returncode, 4, guarded.stderr)
        self.assertEqual(closing_table(guarded.stdout), [f"tsmdm030 - - {SERVICE_TYPES} stopped by the guard"])
        self.assertEqual(database.query("SELECT count(*) FROM tsmdm030"), [str(SERVICE_TYPES)])
        self.assertEqual(database.in_use(), ["0"])
        self.assertEqual([run["outcome"] for run in State(directory).history()], ["ok", "guard"])

        allowed = wine(TOOL, *place, "--erp", cut, "copy", "tsmdm030", "--full", "--max-removed", "any")
        self.assert_done(allowed)
        self.assertEqual(closing_table(allowed.stdout), [f"tsmdm030 0 {SERVICE_TYPES} 0"])
        undone = wine(TOOL, *place, "undo", State(directory).history()[-1]["run"])
        self.assert_done(undone)
        self.assertEqual(database.query("SELECT count(*) FROM tsmdm030"), [str(SERVICE_TYPES)])

    def test_ctrl_break_stops_a_copy_at_its_next_statement_and_frees_the_table(self):
        database, directory = Database("ctrl_break"), logs("ctrl_break")
        state, erp = State(directory), self.site.roles["erp"].fault
        erp.write_text("hold")
        try:
            copy = Started("ctrl_break", TOOL, "--connection", database.of_server, "--log-dir", windows_path(directory),
                           "--erp", "ERP", "copy", "tsmdm030", "tsmdm130", "--full")
            wait_for(lambda: database.in_use() == ["1"] or copy.process.poll() is not None, "the copy's lock")
            sheet = state.sheet("tsmdm030")
            self.assertTrue(sheet, copy.printed())
            self.assert_done(wine(WINDOWS / "ctrl_break.exe", sheet["pid"]))
            self.assertIn("stopping after this statement; once more stops hard", copy.wait_for_lines(1))
        finally:
            erp.unlink()
        lines = copy.wait()
        self.assertEqual(copy.process.returncode, 130, lines)
        self.assertRegex(unwrapped(" ".join(lines)), r"stopped tsmdm030 by Ctrl-Break after \d+ rows?; released")
        self.assertIn("done     0 of 2 tables; not begun: tsmdm130", lines)
        self.assertEqual(database.in_use(), ["0"])
        self.assertEqual(state.sheet("tsmdm030"), {})
        self.assertEqual([(run["table"], run["outcome"], run["cause"]) for run in state.history()],
                         [("tsmdm030", "stopped", "by Ctrl-Break")])

    def test_the_lock_of_a_copy_that_was_killed_is_taken_over_by_the_next(self):
        database, directory = Database("killed_copy"), logs("killed_copy")
        state, erp = State(directory), self.site.roles["erp"].fault
        request = [TOOL, "--connection", database.of_server, "--log-dir", windows_path(directory), "--erp", "ERP"]
        erp.write_text("hold")
        try:
            copy = Started("killed_copy", *request, "copy", "tsmdm030", "--full")
            wait_for(lambda: database.in_use() == ["1"] or copy.process.poll() is not None, "the copy's lock")
            pid = state.sheet("tsmdm030")["pid"]
            copy.process.kill()
            copy.process.wait()
        finally:
            erp.unlink()
        self.assertEqual(database.in_use(), ["1"])
        left = wine(*request, "copy", "tsmdm030", "--full", "--no-takeover")
        self.assertEqual(left.returncode, 2, left.stdout + left.stderr)

        taken = wine(*request, "copy", "tsmdm030", "--full")
        self.assert_done(taken)
        self.assertRegex(unwrapped(taken.stdout), rf"note tsmdm030 took over the lock of pid {pid}\b")
        self.assertEqual(closing_table(taken.stdout), [f"tsmdm030 {SERVICE_TYPES} 0 {SERVICE_TYPES}"])
        self.assertEqual(database.in_use(), ["0"])

    def test_several_tables_are_copied_at_once(self):
        database, directory = Database("jobs"), logs("jobs")
        tables = ["tsmdm030", "tsmdm100", "tsmdm105", "tsmdm130"]
        copied = wine(TOOL, "--connection", database.of_server, "--log-dir", windows_path(directory), "--erp", "ERP",
                      "copy", *tables, "--full", "--jobs", "2")
        self.assert_done(copied)
        self.assertEqual([row.split()[0] for row in closing_table(copied.stdout)], tables)
        for table in tables:
            self.assertNotEqual(database.query(f"SELECT count(*) FROM {table}"), ["0"], table)
        self.assertEqual(sorted(run["table"] for run in State(directory).history()), tables)

    def test_the_service_keeps_a_run_sheet_while_it_copies_and_a_line_of_history(self):
        database, directory = Database("books"), logs("books")
        state, erp = State(directory), self.site.roles["erp"].fault
        erp.write_text("hold")
        try:
            copy = Started("books", *self.script("client.vbs", database.of_server, windows_path(directory), "ERP", 2, FULL))
            wait_for(lambda: database.in_use() == ["1"] or copy.process.poll() is not None, "the service's lock")
            sheet = state.sheet("tsmdm030")
            self.assertEqual((sheet.get("program"), sheet.get("method")), ("iQRXyQRXSync", "full"), copy.printed())
            self.assertGreater(sheet["pid"], 0)
            place = ["--connection", database.of_server, "--log-dir", windows_path(directory)]
            refused = wine(TOOL, *place, "--erp", "ERP", "copy", "tsmdm030", "--full")
            self.assertEqual(refused.returncode, 2, refused.stderr)
            self.assertIn(f"by pid {sheet['pid']}", unwrapped(refused.stdout))
        finally:
            erp.unlink()
        self.assertEqual(copy.wait(), ["handled 1"])
        self.assert_service_is_gone()
        self.assertEqual(state.sheet("tsmdm030"), {})
        refusal, run = state.history()
        self.assertEqual((refusal["outcome"], run["outcome"]), ("in use", "ok"))
        self.assertEqual((run["program"], run["table"], run["method"], run["run"]),
                         ("iQRXyQRXSync", "tsmdm030", "full", sheet["run"]))
        self.assertEqual((run["copied"], run["removed"], run["cause"]), (SERVICE_TYPES, 0, ""))

    def test_a_run_that_a_sink_hears_is_written_down_as_well(self):
        database, directory = Database("sink_books"), logs("sink_books")
        heard = wine(*self.sink(database, directory, connection=database.of_server))
        self.assertIn("DataCopyComplete", heard.stdout, heard.stderr)
        self.assert_service_is_gone()
        self.assertEqual([(run["table"], run["outcome"], run["copied"]) for run in State(directory).history()],
                         [("tsmdm030", "ok", SERVICE_TYPES)])

    def test_the_service_removes_no_more_than_its_settings_allow(self):
        database, directory = Database("service_guard"), logs("service_guard")
        settings = WINDOWS / "iQRXyQRXSync.ini"
        before = settings.read_text()
        self.addCleanup(settings.write_text, before)
        request = lambda erp: wine(*self.script("client.vbs", database.of_server, windows_path(directory), erp, 2, FULL))
        self.assert_done(request("ERP"))
        self.assert_service_is_gone()

        settings.write_text(before + "\n[Guard]\nMaxRemoved=10%\n")
        cut = cut_extract("cut for the service", "tsmdm030")
        self.assert_done(request(cut))
        self.assert_service_is_gone()
        self.assertEqual(database.query("SELECT count(*) FROM tsmdm030"), [str(SERVICE_TYPES)])
        self.assertEqual(database.in_use(), ["0"])
        refusal = f"would remove {SERVICE_TYPES} of {SERVICE_TYPES} rows (100 %, limit 10 %)"
        self.assertIn(refusal, text_of(directory))
        last = State(directory).history()[-1]
        self.assertEqual((last["outcome"], last["cause"]), ("guard", refusal))

        settings.write_text(before)
        self.assert_done(request(cut))
        self.assert_service_is_gone()
        self.assertEqual(database.query("SELECT count(*) FROM tsmdm030"), ["0"])
