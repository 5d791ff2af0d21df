"""What is refused, in words that say what would work."""
from __future__ import annotations

import math
import operator
from typing import Any, NoReturn

from rsmpl._native import lib

INT_MAX = 2**31 - 1


def whole(name: str, value: Any, least: int, most: int) -> int:
    """`value` as an int from `least` to `most`."""
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{name} is a whole number, not {value!r}") from None
    if not least <= number <= most:
        raise ValueError(f"{name} is {number}; {least} to {most} is accepted")
    return number


def channels(count: int) -> str:
    return f"{count} channel{'s' * (count != 1)}"


def choice(name: str, value: Any, choices: dict[str, int]) -> int:
    """What `choices` has for `value`."""
    if value not in choices:
        raise ValueError(f"{name} is {value!r}; one of {', '.join(map(repr, choices))} is accepted")
    return choices[value]


class NotCopied:
    """What holds memory of C, which a copy would share and release a second time."""

    def __reduce__(self) -> NoReturn:
        raise TypeError(f"a {type(self).__name__} can't be copied, nor sent to another process; "
                        "open one there")


def _reduced(in_rate: int, out_rate: int) -> tuple[int, int]:
    divisor = math.gcd(in_rate, out_rate)
    return out_rate // divisor, in_rate // divisor


def _near(in_rate: int, out_rate: int) -> str:
    """The nearest conversion that is served, with a rate changed by a fiftieth at most."""
    for off in range(1, min(in_rate // 50, out_rate // 50, 4000) + 1):
        for rates in ((in_rate, out_rate - off), (in_rate, out_rate + off),
                      (in_rate - off, out_rate), (in_rate + off, out_rate)):
            if max(_reduced(*rates)) <= lib.RSMPL_STREAM_MOST_RATIO:
                return f"; {rates[0]} to {rates[1]} Hz would be served"
    return ""


def rates(in_rate: Any, out_rate: Any) -> tuple[int, int, int, int]:
    """Both rates, and the L and M that they reduce to."""
    in_rate = whole("in_rate", in_rate, 1, INT_MAX)
    out_rate = whole("out_rate", out_rate, 1, INT_MAX)
    up, down = _reduced(in_rate, out_rate)
    most = lib.RSMPL_STREAM_MOST_RATIO
    if max(up, down) > most:
        raise ValueError(f"{in_rate} to {out_rate} Hz reduces to {up}/{down}; at most {most} is "
                         f"served{_near(in_rate, out_rate)}")
    return in_rate, out_rate, up, down


def no_stage(in_rate: int, out_rate: int, up: int, down: int) -> ValueError:
    return ValueError(f"no IIR stage for {in_rate} to {out_rate} Hz, which reduces to {up}/{down}; "
                      "2/3, 1/2, 1/3, 1/4, 1/6, 3/2, 2/1, 3/1, 4/1 and 6/1 have one; "
                      "engine='fir' serves it")
