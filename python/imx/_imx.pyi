from typing import Any, Callable, Optional

import numpy
import numpy.typing

_Pixels = numpy.typing.NDArray[numpy.uint8]

version: str

def load(source: bytes, is_memory: bool, lenient: bool, chosen: dict[str, Any],
         progress: Optional[Callable[[str, int, int], Optional[bool]]], /) -> dict[str, Any]: ...
def save(picture: object, path: Optional[bytes], chosen: dict[str, Any],
         progress: Optional[Callable[[str, int, int], Optional[bool]]], /) -> tuple[bytes, str]: ...
def resized(pixels: _Pixels, alpha: bool, width: int, height: int, fit: bool, /) -> _Pixels: ...
def formats() -> list[dict[str, Any]]: ...
