"""The Python package as its users have it."""

import io
import pathlib
import signal
import subprocess
import sys
import threading

import numpy
import PIL.Image
import pytest

import imx
import imx.pillow

# 5 x 7 pixels, all of them different.
RGBA = (numpy.arange(5 * 7 * 4).reshape(5, 7, 4) * 3 % 251).astype(numpy.uint8)
TEXTS = {"author": "Zo\xeb", "comment": "two words", "notice": "all rights"}


def test_what_is_saved_comes_back(tmp_path: pathlib.Path) -> None:
    path = tmp_path / "a.trm"
    imx.save(path, imx.Image(RGBA, alpha=True, **TEXTS))
    for again in (imx.load(path), imx.load(path.read_bytes()), imx.load(str(path))):
        assert numpy.array_equal(again.pixels, RGBA)
        assert {name: getattr(again, name) for name in TEXTS} == TEXTS
        assert (again.alpha, again.fault) == (True, "")
    info = imx.probe(path)
    assert (info.width, info.height, info.depth, info.alpha) == (7, 5, again.depth, True)
    assert imx.probe(imx.encode(RGBA, "tga")[:30], extension="tga").width == 7
    with pytest.warns(imx.LostTextWarning, match="author is lost"):
        assert imx.encode(again, "ppm")[:2] == b"P6"


@pytest.mark.parametrize("pixels", [RGBA[:, :, 0], RGBA[:, :, :3], RGBA[::-1, ::2]])
def test_arrays_of_any_channels_and_strides_are_pictures(pixels: imx.Pixels) -> None:
    expected = numpy.dstack([pixels] * 3) if pixels.ndim == 2 else pixels
    again = imx.load(imx.encode(pixels, "png"))
    assert numpy.array_equal(again.pixels[:, :, :expected.shape[2]], expected)
    assert again.alpha == (expected.shape[2] == 4)


def test_options_and_palette_reach_the_file() -> None:
    palette = numpy.array([[255, 0, 0], [0, 0, 255]], numpy.uint8)
    image = imx.Image(RGBA, palette=palette)
    again = imx.load(imx.encode(image, "png", depth=8, palette_source="own", strength=0))
    assert again.depth == 8 and numpy.array_equal(again.palette[:2], palette)
    assert image.fitted(3, 0).pixels.shape == (2, 3, 4)
    assert image.resized(9, 1).pixels.shape == (1, 9, 4)
    raw = imx.load(bytes(range(24)), extension="raw", raw_size=(4, 2))
    assert raw.pixels[0, 1].tolist()[:3] == [3, 4, 5]


def test_frames_of_a_sequence(tmp_path: pathlib.Path) -> None:
    path = tmp_path / "a.avi"
    subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc=size=32x16:rate=5", "-t",
                    "0.6", "-c:v", "rawvideo", "-pix_fmt", "bgr24", path], check=True)
    loaded = list(imx.frames(path))
    assert [image.frames for image in loaded] == [3, 3, 3]
    with PIL.Image.open(path) as picture:
        assert (picture.format, picture.n_frames) == ("IMX-AVI", 3)
        picture.seek(2)
        assert numpy.array_equal(numpy.asarray(picture), loaded[2].pixels[:, :, :3])
    with pytest.raises(imx.Error, match="frame") as raised:
        imx.load(path, frame=3)
    assert raised.value.status == imx.Status.NO_SUCH_FRAME


def test_failures_are_raised_and_leave_what_was_there(tmp_path: pathlib.Path) -> None:
    kept = tmp_path / "kept.tga"
    kept.write_text("kept")

    def fails(status: imx.Status, call, *arguments, **options) -> None:
        with pytest.raises(imx.Error) as raised:
            call(*arguments, **options)
        assert raised.value.status == status and str(raised.value)

    targa = imx.encode(RGBA, "tga")
    fails(imx.Status.CANNOT_OPEN, imx.load, tmp_path / "none.png")
    fails(imx.Status.NOT_KNOWN, imx.load, b"no picture at all")
    fails(imx.Status.ABOVE_LIMIT, imx.load, targa, extension="tga", max_bytes=100)
    fails(imx.Status.ENDED_EARLY, imx.load, targa[:60], extension="tga")
    assert "ends early" in imx.load(targa[:60], extension="tga", lenient=True).fault
    fails(imx.Status.STOPPED, imx.save, kept, RGBA, progress=lambda *_: True)
    fails(imx.Status.CALLED_FROM_PROGRESS, imx.save, kept, RGBA,
          progress=lambda *_: imx.load(targa, extension="tga"))
    with pytest.raises(ZeroDivisionError):
        imx.save(kept, RGBA, progress=lambda *_: 1 // 0)
    for wrong in (RGBA.astype(float), RGBA[0, 0], numpy.zeros((2, 2, 5), numpy.uint8)):
        with pytest.raises(ValueError):
            imx.save(kept, wrong)
    for options in ({"reading": "fast"}, {"extension": 7}):
        with pytest.raises((ValueError, TypeError)):
            imx.load(targa, **options)
    assert kept.read_text() == "kept" and [kept] == list(tmp_path.iterdir())


def test_threads_that_listen_take_turns_and_signals_stop() -> None:
    gif = imx.encode(RGBA, "gif")
    done = []

    def work() -> None:
        for _ in range(20):
            done.append(imx.load(gif, progress=lambda *_: False).pixels.shape)

    threads = [threading.Thread(target=work, daemon=True) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(30)
    assert done == [(5, 7, 4)] * 80
    with pytest.raises(KeyboardInterrupt):
        imx.encode(RGBA, "tga", progress=lambda *_: signal.raise_signal(signal.SIGINT))


@pytest.mark.parametrize("extension", ["trm", "iff", "fs", "pic", "rla", "pix"])
def test_pillow_opens_and_saves(tmp_path: pathlib.Path, extension: str) -> None:
    path = tmp_path / f"a.{extension}"
    original = PIL.Image.fromarray(RGBA[:, :, :3])
    original.save(path)
    with PIL.Image.open(path) as picture:
        assert picture.format.startswith("IMX-")
        loaded = imx.load(path)
        assert numpy.array_equal(numpy.asarray(picture.convert("RGB")), loaded.pixels[:, :, :3])
    if extension != "fs":  # which is always 752 x 480
        assert numpy.array_equal(numpy.asarray(picture.convert("RGB")), RGBA[:, :, :3])
    path.write_bytes(path.read_bytes()[:40])
    with pytest.raises((PIL.UnidentifiedImageError, OSError)):
        PIL.Image.open(path).load()


def test_pillow_leaves_other_files_alone_and_bombs_unopened(tmp_path: pathlib.Path,
                                                            monkeypatch: pytest.MonkeyPatch) -> None:
    for name in ("JPEG", "PNG", "TGA", "PSD", "SGI"):
        assert not PIL.Image.OPEN[name][0].__module__.startswith("imx")
    data = io.BytesIO(imx.encode(numpy.zeros((64, 64), numpy.uint8), "trm"))
    assert PIL.Image.open(data).size == (64, 64)
    monkeypatch.setattr(PIL.Image, "MAX_IMAGE_PIXELS", 1000)
    with pytest.raises(PIL.Image.DecompressionBombError):
        PIL.Image.open(data)


def test_the_package_is_typed() -> None:
    package = pathlib.Path(imx.__file__).parent
    checked = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--ignore-missing-imports",
                              "--cache-dir=/dev/null", package], capture_output=True, text=True)
    assert checked.returncode == 0, checked.stdout
