"""whole_process.py BUILD_DIRECTORY: what an administrator would measure, each a process of its own.

Service types, 200,000 new rows: the service against a ten-line Python script, in turns.
Service orders, full copies of growing size: time per row and peak memory of the service.
All tables by the operator's tool, one and several at once.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time
from statistics import median

BUILD = os.path.abspath(sys.argv[1])
HERE = os.path.dirname(os.path.abspath(__file__))
ROUNDS = 5


def run(command):
    """Seconds and peak MiB of one process; its failure ends the benchmark."""
    begin = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"failed: {' '.join(command)}")
    return time.monotonic() - begin, usage.ru_maxrss / 1024


class Site:
    def __init__(self, directory):
        self.directory = directory
        self.extract = os.path.join(directory, "extract")
        self.empty = os.path.join(directory, "empty.db")
        self.database = os.path.join(directory, "local.db")
        os.makedirs(self.extract, exist_ok=True)
        run([f"{BUILD}/qrxctl", "--connection", f"Provider=SQLite;Data Source={self.empty}", "init"])

    def renew(self):
        for suffix in ("", "-wal", "-shm"):
            if os.path.exists(self.database + suffix):
                os.remove(self.database + suffix)
        shutil.copy(self.empty, self.database)

    def copy(self, table_id, method=1):
        return run([f"{BUILD}/iQRXyQRXSync",
                    f"Provider=SQLite;Data Source={self.database}{{}}{{}}{table_id}{{}}{method}{{}}{self.directory}{{}}"
                    f"extract={self.extract}{{}}0{{}}{{}}1{{}}0{{}}SYNC{{}}"])


def write_service_types(site, rows):
    path = os.path.join(site.extract, "tsmdm030.csv")
    with open(path, "w", encoding="utf-8") as file:
        file.write("cstp,desc,proc,ract,dahe\n")
        for i in range(rows):
            file.write(f"{i:09d},Inspection of type {i:09d},P{i % 97:09d},{'WRK' if i % 3 else 'NGT'},{1 + i % 2}\n")
    return path


def against_python(site, rows=200_000):
    extract = write_service_types(site, rows)
    service, script, memory = [], [], 0
    for _ in range(ROUNDS):
        site.renew()
        seconds, peak = site.copy(2)
        service.append(seconds)
        memory = max(memory, peak)
        site.renew()
        script.append(run([sys.executable, f"{HERE}/python_copy.py", site.database, extract])[0])
    ratio = median(a / b for a, b in zip(service, script))
    print(f"service types, {rows:,} new rows, medians of {ROUNDS}:")
    print(f"  service {median(service):6.2f} s   Python script {median(script):6.2f} s   ratio {ratio:.2f}   "
          f"service's peak {memory:.0f} MiB")


def orders_by_size(site):
    print("service orders, full copy, 32 columns:")
    print(f"  {'orders':>9}  {'seconds':>8}  {'us a row':>8}  {'peak MiB':>8}")
    for orders in (1_000, 10_000, 100_000, 1_000_000):
        run([f"{BUILD}/qrxctl", "sample", site.extract, "--orders", str(orders), "--changes", "0", "--force"])
        site.renew()
        seconds, peak = site.copy(10)
        print(f"  {orders:>9,}  {seconds:>8.2f}  {seconds / orders * 1e6:>8.1f}  {peak:>8.0f}")


def tables_at_once(site, orders=100_000):
    run([f"{BUILD}/qrxctl", "sample", site.extract, "--orders", str(orders), "--changes", "0", "--force"])
    command = [f"{BUILD}/qrxctl", "--connection", f"Provider=SQLite;Data Source={site.database}",
               "--erp", f"extract={site.extract}", "--log-dir", site.directory, "copy", "--all", "--full", "-q"]
    print(f"all tables of {orders:,} orders by qrxctl on {os.cpu_count()} processors, into an empty database and again, "
          f"medians of {ROUNDS}:")
    taken = {}
    for _ in range(ROUNDS):
        for jobs in (1, 2, 4):
            site.renew()
            shutil.rmtree(site.database + ".state", ignore_errors=True)
            for kind in ("new", "again"):
                taken.setdefault((jobs, kind), []).append(run(command + ["-j", str(jobs)])[0])
    for (jobs, kind), seconds in sorted(taken.items()):
        ratio = median(a / b for a, b in zip(seconds, taken[1, kind]))
        print(f"  -j {jobs}  {kind:>5}  {median(seconds):6.2f} s   ratio to one at a time {ratio:.2f}")


if __name__ == "__main__":
    with tempfile.TemporaryDirectory(prefix="iqrx-bench-") as temporary:
        place = Site(temporary)
        against_python(place)
        orders_by_size(place)
        tables_at_once(place)
