"""The other side fails, dies or answers a wrong type."""
from wine_site import *

GONE = "remote server machine does not exist or is unavailable"


class Failures(Scenario):
    def run_with_fault(self, role, kind, name):
        """A full copy of service types whose other side fails in mid-call."""
        database, directory = Database(name), logs(name)
        fault = self.site.roles[role].fault
        fault.write_text(kind)
        try:
            done = self.client(database, directory, 2, FULL)
        finally:
            fault.unlink()
            if kind == "die":
                self.site.restart()
        self.assertIn("handled 1", done.stdout, "the client was left without an answer")
        self.assert_service_is_gone()
        return text_of(directory), database.in_use()

    def test_a_registry_process_that_dies_in_mid_call_is_logged(self):
        log, in_use = self.run_with_fault("instance", "die", "dying_instance")
        self.assertIn(GONE, log)
        self.assertEqual(in_use, ["0"])

    def test_a_registry_that_answers_no_object_is_logged(self):
        log, in_use = self.run_with_fault("instance", "wrong", "wrong_instance")
        self.assertIn("Error is - ", log)
        self.assertEqual(in_use, ["0"])

    def test_an_instance_process_that_dies_in_mid_run_fails_the_run_and_frees_the_table(self):
        fault = self.site.roles["instance"].fault
        database, directory = Database("killed_instance"), logs("killed_instance")
        fault.write_text("die-in-run")
        try:
            self.client(database, directory, 2, FULL)
        finally:
            fault.unlink()
            self.site.restart()
        self.assertIn(GONE, text_of(directory))
        self.assertEqual(database.in_use(), ["0"])
        self.assert_service_is_gone()

    def test_an_erp_process_that_dies_in_mid_call_fails_the_copy_and_frees_the_table(self):
        log, in_use = self.run_with_fault("erp", "die", "dying_erp")
        self.assertIn(GONE, log)
        self.assertIn('"UpdateSyncStatus","args":[3', "".join(self.called()))
        self.assertEqual(in_use, ["0"])

    def test_an_erp_class_that_answers_a_wrong_type_fails_the_copy_and_frees_the_table(self):
        log, in_use = self.run_with_fault("erp", "wrong", "wrong_erp")
        self.assertIn("Type mismatch", log)
        self.assertIn('"UpdateSyncStatus","args":[3', "".join(self.called()))
        self.assertEqual(in_use, ["0"])

    def test_an_ado_call_that_answers_a_wrong_type_fails_the_copy_and_frees_the_table(self):
        log, in_use = self.run_with_fault("ado", "wrong", "wrong_ado")
        self.assertIn("Type mismatch", log)
        self.assertEqual(in_use, ["0"])

    def test_a_database_provider_that_dies_in_mid_call_is_logged_and_reported(self):
        log, _ = self.run_with_fault("ado", "die", "dying_ado")  # the lock stays: there is no database to free it in
        self.assertIn(GONE, log)
        self.assertIn('"UpdateSyncStatus","args":[3', "".join(self.called()))

    def test_without_erp_process_the_copy_fails_and_the_next_request_succeeds(self):
        database, directory = Database("killed_erp"), logs("killed_erp")
        self.site.roles["erp"].stop()
        failed = wine(*self.sink(database, directory))
        self.assertIn("DataCopyError", failed.stdout)
        self.assertIn("Orva.ServiceTypes.Manager", text_of(directory))
        self.assertEqual(database.in_use(), ["0"])
        self.site.restart()
        done = wine(*self.sink(database, directory))
        self.assertIn("DataCopyComplete", done.stdout)

    def test_without_ado_process_the_request_is_logged_and_the_service_ends(self):
        database, directory = Database("killed_ado"), logs("killed_ado")
        self.site.roles["ado"].stop()
        try:
            done = self.client(database, directory, 2, FULL)
        finally:
            self.site.restart()
        self.assertIn("handled 1", done.stdout)
        self.assertIn("ADODB.Connection", (directory / "iQRXyDBSync.log").read_text())
        self.assert_service_is_gone()
