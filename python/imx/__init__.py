"""Quillmark IMX: raster images of some twenty formats as numpy arrays.

    import imx

    picture = imx.load("old.tga")           # picture.pixels: height x width x 4 bytes
    imx.save("small.png", picture.fitted(128, 128))

Calls from several threads are safe and take turns; many files at a time are faster in processes.
"""

from __future__ import annotations

import dataclasses
import enum
import os
import warnings
from typing import Any, Callable, Iterator, Literal, Optional, Union

import numpy
import numpy.typing

from . import _imx

__version__: str = _imx.version
__all__ = ["Error", "Format", "Image", "Info", "LostTextWarning", "Status", "encode", "formats",
           "frames", "load", "probe", "save"]

Path = Union[str, "os.PathLike[str]"]
Pixels = numpy.typing.NDArray[numpy.uint8]
Reading = Literal["exact", "at-need", "interop"]
PaletteSource = Literal["fixed", "grey", "built", "own"]
# Told a title, the steps done and the steps in all; what it returns, when true, stops the call.
Progress = Callable[[str, int, int], Optional[bool]]

_READINGS = {"exact": 0, "at-need": 1, "interop": 2}
_PALETTES = {"fixed": 0, "grey": 1, "built": 2, "own": 4}


class Status(enum.IntEnum):
    """Why a call failed: imx_status of the C interface."""

    BAD_ARGUMENT = 1
    CANNOT_OPEN = 2
    NOT_KNOWN = 3
    CHOICE_MISSING = 4
    NO_SUCH_FRAME = 5
    ABOVE_LIMIT = 6
    TOO_LARGE = 7
    NO_MEMORY = 8
    PLUGIN_FAILED = 9
    ENDED_EARLY = 10
    DAMAGED = 11
    STOPPED = 12
    SAVE_FAILED = 13
    OUTSIDE = 14
    NO_PIXELS = 15
    CALLED_FROM_PROGRESS = 16


class Error(Exception):
    """A file that could not be loaded or saved: the reason in words, and as `status`."""

    def __init__(self, text: str, status: int) -> None:
        super().__init__(text)
        self.status = Status(status)


class LostTextWarning(UserWarning):
    """Something of an image, such as its author, that a saved file does not keep."""


def _no_palette() -> Pixels:
    return numpy.zeros((0, 3), numpy.uint8)


@dataclasses.dataclass
class Image:
    """A picture.

    pixels   height x width x 4 bytes of R, G, B, A
    alpha    whether the fourth bytes mean something; without they are saved as opaque
    depth    bits per pixel of the file that it was loaded from
    frames   of the sequence that it is one of; 0 when it is of none
    format   label of the format that it was loaded from
    author, comment, notice    texts of Latin-1 characters, at most 254
    palette  colours of the file that it was loaded from, n x 3 bytes, n up to 256
    fault    what is missing of it when it was loaded with `lenient`, else empty
    note     what else there is to know of the loading
    """

    pixels: Pixels
    alpha: bool = False
    depth: int = 0
    frames: int = 0
    format: str = ""
    author: str = ""
    comment: str = ""
    notice: str = ""
    palette: Pixels = dataclasses.field(default_factory=_no_palette)
    fault: str = ""
    note: str = ""

    def resized(self, width: int, height: int) -> Image:
        """Another of just this size: averaged in linear light and weighted by alpha."""
        return self._with_size(width, height, False)

    def fitted(self, width: int, height: int) -> Image:
        """Another of the same shape that fits into width x height (0: no limit)."""
        return self._with_size(width, height, True)

    def _with_size(self, width: int, height: int, fit: bool) -> Image:
        pixels = _imx.resized(_rgba(self.pixels), self.alpha, width, height, fit)
        return dataclasses.replace(self, pixels=pixels)


@dataclasses.dataclass(frozen=True)
class Info:
    """What a file tells of its picture; `alpha` is None where only the pixels tell."""

    width: int
    height: int
    depth: int
    alpha: bool | None
    frames: int
    format: str


@dataclasses.dataclass(frozen=True)
class Format:
    """A type of files, and the bits per pixel that it can be saved with."""

    extension: str
    label: str
    can_load: bool
    can_save: bool
    depths: tuple[int, ...]


def load(source: Path | bytes | bytearray | memoryview, *, extension: str = "",
         reading: Reading = "exact", quirks: str | None = None, frame: int = 0,
         raw_size: tuple[int, int] | None = None, raw_layout: int = -1, max_bytes: int = 1 << 30,
         lenient: bool = False, progress: Progress | None = None) -> Image:
    """Loads a file, or the bytes of one.

    extension   stands for that of the file's name, which tells some types; bytes have no other
    reading     "exact": the library's own way; "at-need": as other programs do where that gives
                nothing or not all; "interop": as other programs do, in the places that `quirks`
                names with commas between, or in all
    frame       of a sequence, from 0
    raw_size    (width, height) of a headerless file, whose raw_layout is an imx_raw_layout
    max_bytes   memory that the loading may take
    lenient     a file that ends early or is damaged gives what could be read, and Image.fault

    Raises Error, and what `progress` raises.
    """
    data, in_memory, chosen = _choices(source, extension=extension, reading=reading, quirks=quirks,
                                       frame=frame, raw_size=raw_size, raw_layout=raw_layout,
                                       max_bytes=max_bytes)
    return Image(**_imx.load(data, in_memory, lenient, chosen, progress))


def probe(source: Path | bytes | bytearray | memoryview, **options: Any) -> Info:
    """What a file tells of its picture, without decoding it; options as for load()."""
    data, in_memory, chosen = _choices(source, **options)
    return Info(**_imx.probe(data, in_memory, chosen))


def frames(source: Path | bytes, **options: Any) -> Iterator[Image]:
    """All frames of a sequence, or the only image of another file; options as for load()."""
    image = load(source, **options, frame=0)
    yield image
    for frame in range(1, image.frames):
        yield load(source, **options, frame=frame)


def save(path: Path, image: Image | Pixels, *, type: str = "", **options: Any) -> None:
    """Saves to a file of the type that `type` or the path's extension tells.

    The options are those of encode(). What was at `path` stays until a whole new file replaces it.
    """
    _save(image, _path(path), type=type, **options)


def encode(image: Image | Pixels, type: str, **options: Any) -> bytes:
    """The bytes of a file of the type (an extension without a dot).

    depth           bits per pixel; 0: 32 with alpha, else 24, else the type's first
    compress, interlace    True or False, for types that can; True, False
    quality         0 to 100; 100
    palette_source  of a file of 8 bits or fewer: "fixed", "grey", "built" or "own"; "built"
    palette_bits    1 to 8; 0: as many as the depth
    ordered         True: ordered dither, False: error diffusion; False
    strength        of the dither in percent; 100
    quirks          what is written as others do: names with commas between
    durable         False: a saved file need not be on the disk yet; True
    progress        see load()

    Pixels alone are height x width of grey, or with 3 or 4 channels. Raises Error; warns with
    LostTextWarning of what the file cannot keep.
    """
    return _save(image, None, type=type, **options)


def formats() -> list[Format]:
    """The types of files."""
    return [Format(**each) for each in _imx.formats()]


def _choices(source: Path | bytes | bytearray | memoryview, *, extension: str = "",
             reading: str = "exact", quirks: str | None = None, frame: int = 0,
             raw_size: tuple[int, int] | None = None, raw_layout: int = -1,
             max_bytes: int = 1 << 30) -> tuple[bytes, bool, dict[str, Any]]:
    chosen: dict[str, Any] = {"reading": _one_of(_READINGS, reading, "reading"),
                              "frame": frame, "raw_layout": raw_layout, "max_bytes": max_bytes}
    if raw_size:
        chosen["raw_width"], chosen["raw_height"] = raw_size
    texts = {"extension": extension or None, "quirks": quirks}
    chosen.update({name: text for name, text in texts.items() if text is not None})
    if isinstance(source, (bytes, bytearray, memoryview)):
        return bytes(source), True, chosen
    return _path(source), False, chosen


def _save(image: Image | Pixels, path: bytes | None, *, type: str = "", depth: int = 0,
          compress: bool = True, interlace: bool = False, quality: int = 100,
          palette_source: PaletteSource = "built", palette_bits: int = 0, ordered: bool = False,
          strength: int = 100, quirks: str = "", durable: bool = True,
          progress: Progress | None = None) -> bytes:
    chosen: dict[str, Any] = {
        "depth": depth, "compress": int(compress), "interlace": int(interlace), "quality": quality,
        "palette_source": _one_of(_PALETTES, palette_source, "palette_source"),
        "palette_bits": palette_bits, "ordered": int(ordered), "strength": strength,
        "quirks": quirks, "durable": int(durable)}
    if type:
        chosen["type"] = type
    if not isinstance(image, Image):
        image = Image(image, alpha=numpy.ndim(image) == 3 and numpy.shape(image)[2] == 4)
    image = dataclasses.replace(image, pixels=_rgba(image.pixels))
    data, note = _imx.save(image, path, chosen, progress)
    if note:
        warnings.warn(note, LostTextWarning, stacklevel=3)
    return data


def _rgba(pixels: Pixels) -> Pixels:
    """Grey, RGB or RGBA bytes with four channels."""
    pixels = numpy.asarray(pixels)
    if pixels.dtype != numpy.uint8:
        raise ValueError(f"pixels are of type uint8, not {pixels.dtype}")
    if pixels.ndim == 2:
        pixels = numpy.repeat(pixels[:, :, None], 3, axis=2)
    if pixels.ndim != 3 or pixels.shape[2] not in (3, 4):
        raise ValueError(f"pixels are height x width (x 3 or 4), not of shape {pixels.shape}")
    if pixels.shape[2] == 3:
        pixels = numpy.concatenate([pixels, numpy.full_like(pixels[:, :, :1], 255)], axis=2)
    return pixels


def _path(path: Path) -> bytes:
    encoded = os.fsencode(path)
    if not encoded or b"\0" in encoded:
        raise ValueError("a path is neither empty nor has null bytes")
    return encoded


def _one_of(names: dict[str, int], name: str, what: str) -> int:
    if name not in names:
        raise ValueError(f"{what} is one of {', '.join(names)}")
    return names[name]
