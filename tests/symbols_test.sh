#!/usr/bin/env bash
# What the packages' builds compare the libraries with is what the version scripts list, and their
# version is the project's.  Usage: symbols_test.sh SOURCE_DIR VERSION
set -euo pipefail
cd "$1"
packaging/symbols --check
[[ $(head -n 1 debian/changelog) == "rsmpl ($2-"* ]]
