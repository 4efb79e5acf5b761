// The gdk-pixbuf loader, the MIME types and the thumbnailer, as file managers use them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/formats/station_builder.h"
#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

using testing::HasSubstr;

class DesktopTest : public testing::Test {
 protected:
  /// Runs a script in the test's folder with the loader and the MIME types known.
  ProgramResult Bash(const std::string& script) {
    const std::string variables = "export PATH=$(dirname " IMX_PROGRAM
                                  "):$PATH LC_ALL=C.UTF-8 GDK_PIXBUF_MODULE_FILE=$PWD/loaders.cache"
                                  " XDG_DATA_DIRS=$PWD/share:/usr/share XDG_DATA_HOME=$PWD/home\n";
    return RunProgram({"bash", "-c", variables + script}, {}, temp.path());
  }
  void SetUp() override {
    const ProgramResult made = Bash(
        "set -e; PATH=$PATH:$(pkg-config --variable=gdk_pixbuf_query_loaders gdk-pixbuf-2.0 |"
        " xargs dirname); gdk-pixbuf-query-loaders " IMX_PIXBUF_LOADER
        " > loaders.cache; mkdir -p share/mime/packages;"
        "cp " IMX_SOURCE_DIR
        "/desktop/imx.xml share/mime/packages; update-mime-database share/mime;"
        "convert -size 200x100 gradient:red-blue -depth 8 a.png; convert a.png a.psd;"
        "for type in trm iff pic rla pix pcx rgb; do imx convert a.png a.$type; done;"
        "cp " IMX_SOURCE_DIR "/fuzz/samples/flic/flc a.flc");
    ASSERT_EQ(made.status, 0) << made.err;
    std::string model = DemHeader({});
    for (int column = 1; column <= 1201; ++column) {
      model += DemProfile(column) + Repeated("100 ", 1201);
    }
    temp.Write("a.dem", model);
  }

  TempDir temp;
};

TEST_F(DesktopTest, EveryFormatHasATypeAThumbnailAndTheThumbnailersLine) {
  const ProgramResult shown = Bash(
      "types=;for type in trm iff pic rla pix pcx rgb psd flc dem; do "
      "mime=$(gio info -a standard::content-type a.$type | sed -n 's/.*content-type: //p');"
      "gdk-pixbuf-thumbnailer -s 50 a.$type $type.png || continue;"
      "grep -q \"[=;]$mime;\" " IMX_SOURCE_DIR
      "/desktop/imx.thumbnailer || echo not thumbnailed;"
      "echo $type $mime $(identify -format '%w %h' $type.png); done");
  EXPECT_EQ(shown.out,
            "trm image/x-quillmark-trim 50 25\niff image/x-ilbm 50 25\n"
            "pic image/x-softimage-pic 50 25\nrla image/x-wavefront-rla 50 25\n"
            "pix image/x-alias-pix 50 25\npcx image/vnd.zbrush.pcx 50 25\n"
            "rgb image/x-rgb 50 25\npsd image/vnd.adobe.photoshop 50 25\n"
            "flc video/x-flic 50 25\ndem image/x-usgs-dem 50 50\n")
      << shown.err;
  // Without a name that tells, by what they hold.
  EXPECT_EQ(Bash("for type in trm iff pic rla; do cp a.$type plain;"
                 "gio info -a standard::content-type plain | sed -n 's/.*content-type: //p'; done")
                .out,
            "image/x-quillmark-trim\nimage/x-ilbm\nimage/x-softimage-pic\nimage/x-wavefront-rla\n");
  EXPECT_EQ(Bash("convert trm.png -resize 1x1! -format '%[fx:int(9*r)]%[fx:int(9*b)]' info:").out,
            "44");
}

TEST_F(DesktopTest, AHostileFileCostsNeitherMemoryNorTheProgram) {
  // A picture of 20000 x 20000 pixels is promised by a few hundred bytes.
  const ProgramResult shown = Bash(
      "ulimit -v 1500000; head -c 300 a.pic > h.pic; head -c 300 a.iff > h.iff;"
      "printf '\\x4e\\x20\\x4e\\x20' | dd of=h.pic bs=1 seek=92 conv=notrunc status=none;"
      "printf '\\x4e\\x20\\x4e\\x20' | dd of=h.iff bs=1 seek=20 conv=notrunc status=none;"
      "head -c 30000 a.rla > h.rla; : > h.trm; head -c 200000 /dev/zero > h.dem;"
      "for file in h.*; do gdk-pixbuf-thumbnailer -s 50 $file h.png; echo $file $?; done");
  EXPECT_EQ(shown.out, "h.dem 1\nh.iff 1\nh.pic 1\nh.rla 1\nh.trm 1\n") << shown.err;
  EXPECT_THAT(shown.err, HasSubstr("ends early"));
}

}  // namespace
}  // namespace imx::test
