"""Requests of the service's clients: scripts, event sinks, command lines."""
import json

from wine_site import *


class Requests(Scenario):
    def test_a_script_copies_service_types_in_full_and_then_incrementally(self):
        database, directory = Database("script"), logs("script")
        done = self.client(database, directory, 2, FULL, INCREMENTAL)
        self.assertEqual(done.stdout.split("\n")[:2], ["handled 1", "handled 2"], done.stderr)
        self.assertEqual(database.query("SELECT count(*) FROM tsmdm030"), [str(SERVICE_TYPES)])
        self.assertEqual(database.in_use(), ["0"])
        members = [re.match(r'\{"(?:call|set)":"(\w+)"', line)[1] for line in self.called()]
        one = ["getInstance", "CurrentInstanceNumber", "writeToMessageBox", "UpdateSyncStatus", "writeToMessageBox",
               "UpdateSyncStatus"]
        self.assertEqual(members, one + one)
        self.assert_service_is_gone()

    def test_an_event_sink_hears_the_run(self):
        database, directory = Database("events"), logs("events")
        done = wine(*self.sink(database, directory))
        self.assertEqual(done.stdout.split("\n")[:3],
                         ["DataCopyStarted vt7 vt2=2", f"DataCopyComplete vt7 vt2=2 vt3={SERVICE_TYPES} vt3=0 vt3=0",
                          "DataCopydone"], done.stderr)
        self.assert_service_is_gone()

    def test_an_event_sink_hears_that_a_table_is_in_use(self):
        database, directory = Database("in_use"), logs("in_use")
        database.query("UPDATE tstables SET in_use = 1 WHERE tablename = 'tsmdm030'")
        done = wine(*self.sink(database, directory))
        self.assertEqual(done.stdout.split("\n")[:2], ["DataCopyAlreadyInProgress vt7 vt2=2", "DataCopydone"],
                         done.stderr)
        self.assertEqual(database.in_use(), ["1"])

    def test_a_failing_copy_reports_through_its_event_and_the_log(self):
        database, directory = Database("failing"), logs("failing")
        database.query("DROP TABLE tsmdm030")
        done = wine(*self.sink(database, directory))
        lines = done.stdout.splitlines()
        self.assertEqual(lines[0], "DataCopyStarted vt7 vt2=2", done.stderr)
        self.assertRegex(lines[1], r"^DataCopyError vt7 vt2=2 vt2=-1 vt8=DataCopy Failed, see logfile "
                                   r"'.*\\tsmdm030_\d{8}\.log' for details$")
        self.assertEqual(lines[2], "DataCopydone")
        self.assertIn("tsmdm030", text_of(directory))
        self.assertEqual(database.in_use(), ["0"])

    def test_unrelated_clients_get_a_process_each(self):
        """Three requests are under way at the same time: two wait for the instance object, one for the ERP."""
        first, second, third = Database("first"), Database("second"), Database("third")
        instance, erp = self.site.roles["instance"].fault, self.site.roles["erp"].fault
        instance.write_text("hold")
        erp.write_text("hold")
        try:
            handler = Started("handler", *self.request(first, logs("first"), 2))
            wait_for(lambda: '"writeToMessageBox"' in "".join(self.called()), "the handler's request")
            self.assertEqual(services(), 1)
            copy = Started("copy", *self.sink(second, logs("second"), table=5))
            self.assertEqual(copy.wait_for_lines(1), ["DataCopyStarted vt7 vt2=5"])
            self.assertEqual(services(), 2)
            another_handler = Started("another_handler", *self.request(third, logs("third"), 2))
            wait_for(lambda: services() == 3 or another_handler.process.poll() is not None, "a third process")
            self.assertEqual(services(), 3)
            erp.unlink()
            self.assertRegex("\n".join(copy.wait()),
                             r"^DataCopyStarted vt7 vt2=5\nDataCopyComplete vt7 vt2=5 vt3=[1-9]\d* vt3=0 vt3=0\nDataCopydone$")
        finally:
            erp.unlink(missing_ok=True)
            instance.unlink()
        self.assertEqual(handler.wait(), ["handled 1"])
        self.assertEqual(another_handler.wait(), ["handled 1"])
        for database in (first, third):
            self.assertEqual(database.query("SELECT count(*) FROM tsmdm030"), [str(SERVICE_TYPES)])
        self.assert_service_is_gone()

    def test_what_the_scheduler_leaves_in_its_arguments_is_taken_over(self):
        database = Database("by_reference")
        fault = self.site.roles["instance"].fault
        fault.write_text("change")
        try:
            done = wine(SERVICE, command_line(database.connection, 2, FULL, windows_path(logs("by_reference")), "ERP"))
        finally:
            fault.unlink()
        self.assert_done(done)
        calls = self.called()
        self.assertEqual(calls[:2], ['{"call":"getInstance","args":[1]}', '{"set":"CurrentInstanceNumber","value":9}'])
        statuses = [json.loads(line)["args"][2:] for line in calls if "UpdateStatusByTable" in line]
        self.assertEqual(statuses, [[2, 7], [4, 70000]])

    def test_a_script_hears_no_error_of_calls_that_cannot_be_served(self):
        database, directory = Database("wrong_calls"), logs("wrong_calls")
        default = pathlib.Path(os.environ.get("WINEPREFIX", ROOT / "build/wine")) / "drive_c/iQRXyDBSync.log"
        default.unlink(missing_ok=True)
        done = wine(*self.script("wrong_calls.vbs", database.connection, windows_path(directory)))
        self.assertEqual(done.stdout.split(), ["StartDataCopy", "CopyAllTables", "WriteCalcode", "done"], done.stderr)
        self.assertEqual((directory / "iQRXyDBSync.log").read_text().count("Type mismatch"), 2)
        self.assertIn("Error is - ", default.read_text())

    def test_exit_codes_of_a_command_line_start_outlive_com(self):
        database = Database("exit_codes")
        request = command_line(database.connection, 2, FULL, windows_path(logs("exit_codes")), "ERP")
        self.assertEqual(wine(SERVICE, request).returncode, 0)
        database.query("UPDATE tstables SET in_use = 1 WHERE tablename = 'tsmdm030'")
        self.assertEqual(wine(SERVICE, request).returncode, 2)
        database.query("UPDATE tstables SET in_use = 0")
        database.query("DROP TABLE tsmdm030")
        failed = wine(SERVICE, request)
        self.assertEqual(failed.returncode, 1)
        self.assertRegex(failed.stderr, "^iQRXyQRXSync: .*tsmdm030.*\n$")
