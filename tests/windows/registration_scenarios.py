"""What registering leaves in the registry, and what removing it does."""
from wine_site import *

INTERFACES = ("{AC650E00-8388-4D61-959B-3A2C003EE8C1}", "{DCB9E26C-30A0-4959-BA7C-6E09092AE211}",
              "{649DBB91-15ED-492F-9591-3DEB54E39258}")
LIBRARY = "{1CEB34D5-2485-470B-9656-F087862DD6B3}"
CLASSES = "HKLM\\Software\\Classes"


def values(key, bits):
    """The keys below one, with their values, in the view of 32-bit or of 64-bit programs."""
    found, here = {}, None
    listed = wine("reg", "query", key, "/s", f"/reg:{bits}")
    for line in listed.stdout.splitlines() if listed.returncode == 0 else ():
        if line.startswith("HKEY_"):
            here = found.setdefault(line.split("\\Classes\\", 1)[1].upper(), {})
        elif line.strip():
            name, _, value = line.strip().split("    ", 2)
            here[name] = value
    return found


class Registration(Scenario):
    def tearDown(self):
        self.assert_done(wine(SERVICE, "/regserver"))

    def test_register_and_unregister_leave_no_key_behind(self):
        def keys():
            listed = [wine("reg", "query", f"HK{root}\\Software\\Classes", "/s").stdout for root in ("LM", "CU")]
            return [line for text in listed for line in text.splitlines() if line.startswith("HKEY_")]

        self.assert_done(wine(SERVICE, "/unregserver"))
        before = keys()
        self.assertFalse([key for key in before if "iQRXyQRXSync" in key])
        for _ in range(2):
            self.assert_done(wine(SERVICE, "/regserver"))
            self.assertEqual(values(f"{CLASSES}\\iQRXyQRXSync.clsDataCopy", 64)["IQRXYQRXSYNC.CLSDATACOPY\\CLSID"],
                             {"(Default)": "{AA56618D-5DA5-4816-8FAE-11E0D77B0A60}"})
        self.assert_done(wine(SERVICE, "/unregserver"))
        self.assertEqual(keys(), before)

    def test_compiled_clients_of_both_sizes_find_interfaces_and_type_library(self):
        for bits in (64, 32):
            with self.subTest(bits=bits):
                for interface in INTERFACES:
                    key = f"INTERFACE\\{interface}"
                    found = values(f"{CLASSES}\\{key}", bits)
                    self.assertEqual(found[f"{key}\\TYPELIB"], {"(Default)": LIBRARY, "Version": "1.0"})
                    self.assertIn(found[f"{key}\\PROXYSTUBCLSID32"]["(Default)"],
                                  ("{00020424-0000-0000-C000-000000000046}", "{00020420-0000-0000-C000-000000000046}"))
                library = values(f"{CLASSES}\\TypeLib\\{LIBRARY}", bits)
                for system in ("WIN32", "WIN64"):
                    self.assertEqual(library[f"TYPELIB\\{LIBRARY}\\1.0\\0\\{system}"], {"(Default)": windows_path(SERVICE)})

    def test_unregistering_removes_the_entries_of_32_bit_programs(self):
        self.assert_done(wine(SERVICE, "/unregserver"))
        for interface in INTERFACES:
            self.assertEqual(values(f"{CLASSES}\\Interface\\{interface}", 32), {})
        self.assertEqual(values(f"{CLASSES}\\TypeLib\\{LIBRARY}", 32), {})
