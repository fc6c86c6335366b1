#!/usr/bin/env bash
# Installs the Debian packages that are missing; touches nothing when none is.
set -euo pipefail

packages=(
  # build
  g++ cmake ninja-build ccache
  libsqlite3-dev unixodbc-dev libpq-dev libpugixml-dev libcli11-dev libutfcpp-dev nlohmann-json3-dev libfmt-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev googletest librapidcheck-dev libbenchmark-dev
  sqlite3 python3 tzdata libsqliteodbc odbc-postgresql tdsodbc odbcinst postgresql openssl
  python3-psycopg
  # checks of the source
  clang-format clang-tidy
  # the Windows build and its tests
  g++-mingw-w64-x86-64-posix mingw-w64-tools wine64 libwine-dev
)

installed=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' 2>/dev/null | sed -n 's/^ii *//p')
missing=()
for package in "${packages[@]}"; do
  grep -qxF "$package" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
