"""The Windows service as its clients meet it, under Wine: COM on every side, each side in a process of its own.

    scenarios.py [-v] [-k PATTERN]
"""
import unittest

import comparison_scenarios
import failure_scenarios
import registration_scenarios
import request_scenarios
import tool_scenarios
from wine_site import Scenario

MODULES = (request_scenarios, failure_scenarios, comparison_scenarios, tool_scenarios, registration_scenarios)


def load_tests(loader, *_):
    return unittest.TestSuite(map(loader.loadTestsFromModule, MODULES))


if __name__ == "__main__":
    Scenario.site.start()
    try:
        unittest.main()
    finally:
        Scenario.site.stop()
