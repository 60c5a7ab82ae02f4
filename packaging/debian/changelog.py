#!/usr/bin/env python3
"""Writes the Debian changelog of one version from CHANGELOG.md: its entries, one bullet each.

The date is that of the version's heading ("## [1.0.0] - 2026-01-31"); an unreleased version takes SOURCE_DATE_EPOCH,
or else the time at which CHANGELOG.md was last changed.
"""
import argparse
import datetime
import email.utils
import os
import re
import textwrap


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("changelog")
    parser.add_argument("--version", required=True)
    parser.add_argument("--contact", required=True)
    parser.add_argument("-o", "--output", required=True)
    options = parser.parse_args()
    with open(options.changelog, encoding="utf-8") as file:
        text = file.read()
    found = re.search(rf"^## \[?{re.escape(options.version)}\b.*?$(.*?)(?=^## |\Z)", text, re.M | re.S)
    if not found:
        raise SystemExit(f"{options.changelog}: no entry for version {options.version}")
    day = re.search(r"\d{4}-\d{2}-\d{2}", found.group(0).splitlines()[0])
    if day:
        date = datetime.datetime.strptime(day.group(0), "%Y-%m-%d").replace(tzinfo=datetime.timezone.utc)
    else:
        seconds = float(os.environ.get("SOURCE_DATE_EPOCH") or os.path.getmtime(options.changelog))
        date = datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)
    bullets = re.findall(r"^[-*] (.*(?:\n[ \t]+\S.*)*)", found.group(1), re.M) or ["See the project's change log."]
    lines = [f"lutc ({options.version}) unstable; urgency=medium", ""]
    for bullet in bullets:
        lines += textwrap.wrap(" ".join(bullet.split()), 78, initial_indent="  * ", subsequent_indent="    ")
    lines += ["", f" -- {options.contact}  {email.utils.format_datetime(date)}"]
    with open(options.output, "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
