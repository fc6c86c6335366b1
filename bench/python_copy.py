"""python_copy.py DATABASE CSV: the ten lines that a user would write instead of the service."""
import csv
import sqlite3
import sys

database, extract = sys.argv[1:]
with sqlite3.connect(database) as connection, open(extract, newline="", encoding="utf-8") as file:
    connection.executemany(
        "INSERT INTO tsmdm030 (cstp, dsca, prod, ract, dahe, upd_flag) VALUES (?, ?, ?, ?, ?, 0) "
        "ON CONFLICT (cstp) DO UPDATE SET dsca = excluded.dsca, prod = excluded.prod, ract = excluded.ract, "
        "dahe = excluded.dahe, upd_flag = 0",
        ((r["cstp"], r["desc"], r["proc"], r["ract"], r["dahe"] == "1") for r in csv.DictReader(file)))
