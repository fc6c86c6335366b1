"""postgres_copy.py SERVER CSV SKIPPED TABLE COLUMN...: the ten lines that a user would write instead of the service.
The first column is the key; the first SKIPPED cells of each line are left out."""
import csv
import sys
import psycopg

server, extract, skipped, table, *columns = sys.argv[1:]
statement = (f"INSERT INTO {table} ({', '.join(columns)}, upd_flag) VALUES ({', '.join(['%s'] * len(columns))}, 0) "
             f"ON CONFLICT ({columns[0]}) DO UPDATE SET {', '.join(f'{c} = excluded.{c}' for c in columns[1:])}, upd_flag = 0")
with psycopg.connect(server) as connection, open(extract, newline="", encoding="utf-8") as file:
    lines = csv.reader(file)
    next(lines)
    connection.cursor().executemany(statement, ([cell or None for cell in line[int(skipped):]] for line in lines))
