# SPDX-License-Identifier: Apache-2.0
"""The controls of a camera by name. What there is comes from the library."""
from __future__ import annotations

import difflib
import functools
import math
from collections.abc import Iterable, Iterator, Mapping
from ctypes import byref, c_double, sizeof
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Generic, TypeVar, Union, cast, overload

from ._errors import UnknownControlError, UnsupportedError, Cause, expected
from ._native import kxcam_control, library

if TYPE_CHECKING:
    from ._session import Session

ControlValue = Union[bool, int, float, str]
_WHOLE, _VIEW = 0x1, 0x2
_SWITCH = ("off", "on")


@dataclass(frozen=True)
class ControlInfo:
    """What the library tells about a control."""

    name: str  #: "exposure-ms"
    unit: str  #: "ms"; "" for a plain number
    group: str  #: "exposure": what to show together
    description: str  #: one line
    minimum: float  #: smallest value that is taken
    maximum: float  #: largest
    step: float  #: what the camera and its memory tell apart; 0: any number
    neutral: ControlValue | None  #: what `reset()` sets; None for another view of a control
    choices: tuple[str, ...]  #: words for its values; () for a number
    kind: type[bool] | type[int] | type[float] | type[str]  #: type of its values

    @property
    def attribute(self) -> str:
        """Its name as a property of `Camera`: "exposure_ms"."""
        return self.name.replace("-", "_")

    @property
    def range(self) -> str:
        """What it takes, as text: "1..255", "off|on"."""
        if self.choices:
            return "|".join(self.choices)
        return f"{self.text(self.decode(self.minimum))}..{self.text(self.decode(self.maximum))}"

    def text(self, value: ControlValue) -> str:
        """A value as settings files have it."""
        if isinstance(value, str):
            return value
        if self.kind is bool:
            return _SWITCH[bool(value)]
        return format(value, ".0f" if self.kind is int else ".7g")

    def decode(self, number: float) -> ControlValue:
        """The value for a number of the library's."""
        if self.kind is str:
            return self.choices[int(number)]
        return self.kind(number)

    def encode(self, value: ControlValue) -> float:
        """The library's number for a value. Raises TypeError or ArgumentError, with what it takes."""
        if isinstance(value, str):
            if value not in self.choices:
                raise self._refusal(value)
            return float(self.choices.index(value))
        if self.kind is str:
            raise TypeError(f"{self.name} takes one of the words {self.range}, not {value!r}")
        try:
            number = float(value)
        except (TypeError, ValueError, OverflowError):
            raise TypeError(f"{self.name} takes {self.kind.__name__} {self.range}, not {value!r}") from None
        fits = self.minimum <= number <= self.maximum
        if not fits or (self.kind is not float and number != math.trunc(number)):
            raise self._refusal(value)
        return number

    def parse(self, text: str) -> ControlValue:
        """The value that a text stands for. Raises ArgumentError."""
        try:
            return self.decode(self.encode(text if text in self.choices else float(text)))
        except (ValueError, TypeError):
            raise self._refusal(text) from None

    def _refusal(self, value: object) -> Exception:
        kind = "a whole number " if self.kind is int else ""
        return expected(
            f"setting {self.name} to {value!r}",
            f"expected {kind}{self.range}{' ' + self.unit if self.unit else ''}",
            f"{self.description[:1].upper()}{self.description[1:]}.",
        )


def _read(control: kxcam_control) -> ControlInfo:
    choices: list[str] = []
    while control.choices and control.choices[len(choices)] is not None:
        choices.append(control.choices[len(choices)].decode())
    kind: Any = bool if tuple(choices) == _SWITCH else str if choices else float
    if kind is float and control.flags & _WHOLE:
        kind = int
    info = ControlInfo(
        name=control.name.decode(),
        unit=control.unit.decode(),
        group=control.group.decode(),
        description=control.description.decode(),
        minimum=control.minimum,
        maximum=control.maximum,
        step=control.step,
        neutral=None,
        choices=tuple(choices),
        kind=kind,
    )
    if not control.flags & _VIEW:
        object.__setattr__(info, "neutral", info.decode(control.neutral))
    return info


@functools.lru_cache(maxsize=None)
def control_table() -> Mapping[str, ControlInfo]:
    """All controls that there are, by name; a setting comes before those whose meaning it changes."""
    table: dict[str, ControlInfo] = {}
    control = kxcam_control()
    while library.kxcam_get_control(len(table), byref(control), sizeof(control)) == 0:
        info = _read(control)
        table[info.name] = info
    return table


def nearest(name: str, names: Iterable[str]) -> str:
    """A hint at what may have been meant: 'Did you mean "gain"?', or what there is."""
    names = list(names)
    close = difflib.get_close_matches(name, names, n=1, cutoff=0.5)
    return f'Did you mean "{close[0]}"?' if close else f"There are {', '.join(names)}."


def find_control(name: str) -> ControlInfo:
    """The control of that name. Raises UnknownControlError."""
    try:
        return control_table()[name]
    except (KeyError, TypeError):
        pass
    if not isinstance(name, str):
        raise TypeError(f"the name of a control is a str, not {name!r}")
    raise UnknownControlError(
        f'control "{name}"',
        Cause.ARGUMENT,
        cause="there is none of that name",
        remedy=nearest(name.replace("_", "-"), control_table()),
    )


class Control:
    """A control of an open camera. Thread-safe."""

    def __init__(self, session: Session, info: ControlInfo) -> None:
        self._session = session
        self.info = info

    @property
    def value(self) -> ControlValue:
        """Its value; assigning sends it to the camera."""
        return self.info.decode(read_number(self._session, self.info))

    @value.setter
    def value(self, value: ControlValue) -> None:
        write_number(self._session, self.info, self.info.encode(value))

    def reset(self) -> None:
        """Sets the neutral value. Raises UnsupportedError for another view of a control, which has none."""
        if self.info.neutral is None:
            raise UnsupportedError(
                f"resetting {self.info.name}",
                Cause.NOT_SUPPORTED,
                cause="it is another view of a control",
                remedy="",
            )
        self.value = self.info.neutral

    @property
    def range(self) -> str:
        """What it takes, as text: "1..255", "off|on"."""
        return self.info.range

    def __repr__(self) -> str:
        return f"<Control {self.info.name} = {self.info.text(self.value)}, {self.info.range}>"


class Controls(Mapping[str, Control]):
    """The controls that a camera offers, by name. Thread-safe."""

    def __init__(self, session: Session) -> None:
        self._session = session

    def __getitem__(self, name: str) -> Control:
        """Raises UnknownControlError, also of use as KeyError; a control that this camera does not offer is
        there, and raises UnsupportedError when it is read."""
        return Control(self._session, find_control(name))

    def __iter__(self) -> Iterator[str]:
        offered = self._session.offered_controls
        return (name for number, name in enumerate(control_table()) if offered >> number & 1)

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def __contains__(self, name: object) -> bool:
        return any(name == each for each in self)

    def update(self, values: Mapping[str, ControlValue]) -> None:
        """Sets several controls in the order of the table, whatever order `values` has.

        All names and values are checked before the first is sent. Raises UnknownControlError, TypeError,
        ArgumentError; after that, as one control does.
        """
        numbers = {find_control(name): find_control(name).encode(value) for name, value in values.items()}
        for info in control_table().values():
            if info in numbers:
                write_number(self._session, info, numbers[info])

    def __repr__(self) -> str:
        return f"<Controls {', '.join(self)}>"


def read_number(session: Session, info: ControlInfo) -> float:
    value = c_double()
    with session.handle as index:
        code = library.kxcam_get(index, info.name.encode(), byref(value))
    if code != 0:
        raise session.error(f"reading {info.name}", code)
    return value.value


def write_number(session: Session, info: ControlInfo, number: float) -> None:
    with session.handle as index:
        code = library.kxcam_set(index, info.name.encode(), number)
    if code != 0:
        raise session.error(f"setting {info.name} to {info.text(info.decode(number))}", code)


T = TypeVar("T", bool, int, float, str)


class Setting(Generic[T]):
    """A control as a property of a camera: reading asks the camera, assigning tells it."""

    def __init__(self, name: str, kind: type[T]) -> None:
        self.name = name
        info = control_table().get(name)
        if info is not None:
            unit = f", in {info.unit}" if info.unit else ""
            self.__doc__ = f"{info.description[:1].upper()}{info.description[1:]}: {info.range}{unit}."

    @property
    def info(self) -> ControlInfo:
        """Raises UnknownControlError if the library is older than the package."""
        return find_control(self.name)

    @overload
    def __get__(self, session: None, owner: type) -> Setting[T]:
        ...

    @overload
    def __get__(self, session: Session, owner: type) -> T:
        ...

    def __get__(self, session: Session | None, owner: type) -> Setting[T] | T:
        if session is None:
            return self
        return cast(T, self.info.decode(read_number(session, self.info)))

    def __set__(self, session: Session, value: T) -> None:
        write_number(session, self.info, self.info.encode(value))
