"""Prints the instructions of the stages' kernels in the order of a trace, as an assembler reads
them.  Usage: follow.py LISTING TRACE"""
import re
import sys

BRANCH = re.compile(r"^(b(?:\.\w+)?|cbn?z\s+\w+,|tbn?z\s+\w+, #\w+,|adrp?\s+\w+,)\s+[0-9a-f]+$")


def readable(instruction):
    plain = re.sub(r"\s*(//|<).*", "", instruction)
    return BRANCH.sub(r"\1 #8" if not plain.startswith("adr") else r"\1 #4096", plain)


listing = {}
with open(sys.argv[1]) as lines:
    for line in lines:
        if found := re.match(r"\s*([0-9a-f]+):\s+(.*)", line):
            listing[int(found[1], 16)] = readable(found[2])

with open(sys.argv[2]) as lines:
    for line in lines:
        found = re.match(r"Trace 0: \S+ \[[0-9a-f]+/([0-9a-f]+)/.*baseline.*(run_|convert)", line)
        if found:
            instruction = listing[int(found[1], 16)]
            if not re.match(r"(bl|ret)\b", instruction):
                print(instruction)
