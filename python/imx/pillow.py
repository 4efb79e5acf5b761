"""Pillow plug-in: after `import imx.pillow` Image.open() reads and Image.save() writes formats that
Pillow does not know.

They are TRIM, IFF/ILBM and framestores, Softimage, Wavefront RLA, Alias PIX, USGS DEM and AVI, the
last two for reading alone. Frames of an AVI are chosen by seek().
"""

from __future__ import annotations

import dataclasses
import os
from typing import IO, Any, Callable, ClassVar

import numpy
import PIL.Image
import PIL.ImageFile

import imx

__all__: list[str] = []


@dataclasses.dataclass(frozen=True)
class _Kind:
    """A format: how its files begin (where that tells them), and what Pillow asks for."""

    name: str
    starts: tuple[tuple[int, bytes], ...]
    extensions: tuple[str, ...]
    type: str  # as which it is saved; empty: it is not
    mime: str

    def is_told_by(self, length: int) -> bool:
        """Whether so many first bytes tell whether a file is one."""
        return bool(self.starts) and all(at + len(magic) <= length for at, magic in self.starts)

    def accepts(self, start: bytes) -> bool:
        return any(start[at:at + len(magic)] == magic for at, magic in self.starts)


_KINDS = (
    _Kind("TRIM", ((8, b"TRIM"),), (".trm",), "trm", "image/x-quillmark-trim"),
    _Kind("ILBM", ((8, b"ILBM"), (8, b"PBM ")), (".iff", ".ilbm", ".lbm", ".fs"), "iff",
          "image/x-ilbm"),
    _Kind("SOFTIMAGE", ((0, b"\x53\x80\xf6\x34"),), (".pic",), "pic", "image/x-softimage-pic"),
    _Kind("RLA", ((26, b"\xff\xfe"),), (".rla",), "rla", "image/x-wavefront-rla"),
    _Kind("ALIAS", (), (".pix",), "pix", "image/x-alias-pix"),
    _Kind("DEM", (), (".dem",), "", "image/x-usgs-dem"),
    _Kind("AVI", ((8, b"AVI "),), (".avi",), "", "video/x-msvideo"),
)


class _ImxImageFile(PIL.ImageFile.ImageFile):  # type: ignore[misc]
    kind: ClassVar[_Kind]

    def _open(self) -> None:
        extension = os.path.splitext(os.fsdecode(self.filename or ""))[1].lower()
        start = self.fp.read(32)
        if not self.kind.accepts(start) and (self.kind.starts or
                                             extension not in self.kind.extensions):
            raise SyntaxError(f"not a {self.kind.name} file")
        self.fp.seek(0)
        self._data = self.fp.read()
        # A kind that was told by its name alone is read by it as well.
        self._extension = (extension if extension in self.kind.extensions
                           else self.kind.extensions[0])[1:]
        self._frame = 0
        self.tile: list[Any] = []
        info = self._read(imx.probe)
        self._size = (info.width, info.height)
        self._set_mode("RGBA" if info.alpha else "RGB")
        self._set_frames(info.frames)
        self._is_pending = True  # the picture of _frame is not decoded yet
        if info.alpha is None:
            self.load()

    def load(self) -> Any:
        if self._is_pending:
            self._show(self._read(imx.load, lenient=PIL.ImageFile.LOAD_TRUNCATED_IMAGES))
            self._is_pending = False
        return super().load()

    def _read(self, call: Callable[..., Any], **options: Any) -> Any:
        limit = PIL.Image.MAX_IMAGE_PIXELS
        try:
            return call(self._data, extension=self._extension, reading="at-need", frame=self._frame,
                        max_bytes=8 * limit if limit else 1 << 40, **options)
        except imx.Error as error:
            if error.status in (imx.Status.ABOVE_LIMIT, imx.Status.TOO_LARGE):
                raise PIL.Image.DecompressionBombError(str(error)) from error
            if error.status == imx.Status.NOT_KNOWN:
                raise SyntaxError(str(error)) from error
            raise OSError(str(error)) from error

    def _show(self, image: imx.Image) -> None:
        pixels = image.pixels if image.alpha else image.pixels[:, :, :3]
        picture = PIL.Image.fromarray(numpy.ascontiguousarray(pixels))
        self.im = picture.im
        self._size = picture.size
        self._set_mode(picture.mode)
        self._set_frames(image.frames)
        self.info.update({name: getattr(image, name) for name in ("author", "comment", "notice")
                          if getattr(image, name)})

    def _set_mode(self, mode: str) -> None:
        # Newer versions of Pillow keep it behind a property.
        is_property = isinstance(getattr(type(self), "mode", None), property)
        setattr(self, "_mode" if is_property else "mode", mode)

    def _set_frames(self, frames: int) -> None:
        self.n_frames = max(1, frames)
        self.is_animated = self.n_frames > 1

    def seek(self, frame: int) -> None:
        if frame == self._frame:
            return
        if not 0 <= frame < self.n_frames:
            raise EOFError("no such frame")
        self._frame = frame
        self._is_pending = True

    def tell(self) -> int:
        return int(self._frame)


def _saver(kind: _Kind) -> Any:
    def save(image: PIL.Image.Image, file: IO[bytes], path: str | bytes) -> None:
        mode = "RGBA" if image.mode in ("RGBA", "LA", "PA") or "transparency" in image.info else "RGB"
        texts = {name: str(image.encoderinfo.get(name, image.info.get(name, "")))
                 for name in ("author", "comment", "notice")}
        pixels = numpy.asarray(image.convert(mode))
        extension = os.path.splitext(os.fsdecode(path or ""))[1].lower()
        picture = dataclasses.replace(imx.Image(pixels, alpha=mode == "RGBA"), **texts)
        file.write(imx.encode(picture, "fs" if extension == ".fs" else kind.type))

    return save


for _kind in _KINDS:
    _format = "IMX-" + _kind.name
    _class = type(_kind.name.title() + "ImageFile", (_ImxImageFile,),
                  {"kind": _kind, "format": _format, "format_description": "IMX " + _kind.name})
    PIL.Image.register_open(_format, _class,
                            _kind.accepts if _kind.is_told_by(16) else None)  # so many Pillow shows
    PIL.Image.register_extensions(_format, list(_kind.extensions))
    PIL.Image.register_mime(_format, _kind.mime)
    if _kind.type:
        PIL.Image.register_save(_format, _saver(_kind))
