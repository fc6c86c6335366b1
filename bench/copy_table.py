#!/usr/bin/env python3
"""Prints what copy_bench measured as a table, a line per copy, with the ratio that is wanted of it."""
import json
import sys

benchmarks = json.load(sys.stdin)["benchmarks"]
print(f"{'copy':<38}{'rows':>8}{'us a row':>10}{'plain us':>10}{'ratio':>8}{'cpu ratio':>11}{'wanted':>8}")
for benchmark in benchmarks:
    name, rows = benchmark["run_name"].split("/")[0:2]
    if name == "FullCopy":
        name, rows = benchmark["run_name"].split("/")[1:3]
        print(f"{name:<38}{rows:>8}{benchmark['us_a_row']:>10.2f}{benchmark['plain_us']:>10.2f}"
              f"{benchmark['ratio']:>8.2f}{benchmark['cpu_ratio']:>11.2f}{benchmark['wanted']:>8.2f}")
    else:
        print(f"{'orders, incremental (processor time)':<38}{rows:>8}{benchmark['us_a_row']:>10.2f}"
              f"{'':>29}{benchmark['wanted_us']:>5.0f} us")
