"""Prints what a trace has between the first and the last instruction of a function `followed`, as
an assembler reads it, without calls and returns.  Usage: follow.py LISTING TRACE"""
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

waiting = None  # instructions since the last one of `followed`
with open(sys.argv[2]) as lines:
    for line in lines:
        if not (found := re.match(r"Trace 0: \S+ \[[0-9a-f]+/([0-9a-f]+)/\S*\] (\S*)", line)):
            continue
        here = "followed" in found[2]
        if here and waiting:
            print("\n".join(waiting))
        if here:
            waiting = []
        if waiting is not None:
            instruction = listing[int(found[1], 16)]
            if not re.match(r"(blr?|br|ret)\b", instruction):
                waiting.append(instruction)
