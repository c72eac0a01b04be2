#!/usr/bin/env bash
# Installs the Debian packages the build needs, if any is missing.
set -euo pipefail

# libexiv2-dev: the tool's import reads picture metadata with it (the library
# does not link it); libjpeg-dev: the tests and the sample make real JPEGs;
# libexpat1-dev: the tool's gps import parses GPX track logs with it; tzdata:
# gps import --tz takes zone names from the zone database; clang-14 and
# libclang-rt-14-dev: the fuzz targets build with clang and link libFuzzer
# and the sanitizer runtimes from the latter.
packages=(cmake g++ make pkg-config libsqlite3-dev libexiv2-dev libjpeg-dev libexpat1-dev tzdata googletest
  libgtest-dev libgmock-dev libbenchmark-dev binutils locales clang-14 libclang-rt-14-dev)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
run_as_root=()
if [ "$(id -u)" -ne 0 ]; then
  run_as_root=(sudo)
fi
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  "${run_as_root[@]}" apt-get update -q
  "${run_as_root[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

# The tests show that text handling does not depend on the process locale,
# under a Turkish locale (dotted and dotless i) and one with a decimal comma.
for locale in tr_TR de_DE; do
  if ! locale -a 2>/dev/null | grep -qi "^${locale}\.utf-\?8$"; then
    "${run_as_root[@]}" localedef -i "$locale" -f UTF-8 "${locale}.UTF-8"
  fi
done
