"""The operator's tool on Windows: options, files and variables beyond ASCII."""
from wine_site import *

TOOL = str(WINDOWS / "qrxctl.exe")


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
