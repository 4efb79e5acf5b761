#include "tests/setup/sample_medium.h"

namespace imx::test {

const std::vector<SampleFile>& sampleFiles() {
  using enum InstallCondition;
  static const std::vector<SampleFile> files = {
      {"glint.exe", "C:\\Apps\\G\\glint.exe", "glint", "glint", kProgramFiles, glint},
      {"twistel.exe", "C:\\Apps\\G\\twistel.exe", "twist", "twist", kProgramFiles, twistel},
      {"twainlnk.dll", "C:\\Apps\\G\\twainlnk.dll", "scan %d..", "scan %d..", kProgramFiles, glint},
      {"glintldjpeg.dll", "C:\\Apps\\G\\glintldjpeg.dll", "lj", "lj", kProgramFiles, always},
      {"glintldtiff.dll", "C:\\Apps\\G\\glintldtiff.dll", "lt", "lt", kProgramFiles, always},
      {"glintpal.dll", "C:\\Apps\\G\\glintpal.dll", "p", "p", kProgramFiles, always},
      {"glintsvjpeg.dll", "C:\\Apps\\G\\glintsvjpeg.dll", "sj", "sj", kProgramFiles, always},
      {"demoloop.avi", "C:\\Apps\\G\\demoloop.avi", "film", "film", kProgramFiles, twistel},
      {"colorset.ini", "C:\\Windows\\colorset.ini", "c=%i..", "c=%i..", kWindowsFiles, always},
      {"winglint.ini", "C:\\Windows\\winglint.ini", "p=%i..;h=%h..", "p=C:\\Apps\\P;h=C:\\Apps\\H",
       kWindowsFiles, always},
      {"twistel.ini", "C:\\Windows\\twistel.ini", "d=%d..\r\nD=%D..",
       "d=C:\\Apps\\D x\r\nD=C:\\Apps\\D|x", kWindowsFiles, always},
      {"msvcp50.dll", "C:\\Windows\\System32\\msvcp50.dll", "50", "50", kSystemFiles, always},
      {"msvcrt.dll", "C:\\Windows\\System32\\msvcrt.dll", "rt", "rt", kSystemFiles, always},
      {"msvcrt40.dll", "C:\\Windows\\System32\\msvcrt40.dll", "40", "40", kSystemFiles, always},
      {"data\\a.TML", "C:\\Apps\\D x\\a.TML", "x%iABy", "xC:\\Apps\\Py", kDataFiles, always},
      {"data\\b.dat", "C:\\Apps\\D x\\b.dat", "x%iABy", "x%iABy", kDataFiles, always},
      {"data\\land_pals\\l.pal", "C:\\Apps\\D x\\land_pals\\l.pal", "l", "l", kDataFiles, always},
      {"data\\tex_pals\\t.pal", "C:\\Apps\\D x\\tex_pals\\t.pal", "t", "t", kDataFiles, always},
      {"data\\convos\\c.mpt", "C:\\Apps\\D x\\convos\\c.mpt", "%d..", "%d..", kDataFiles, always},
      {"data\\plugins\\p.dll", "C:\\Apps\\D x\\plugins\\p.dll", "pp", "pp", kDataFiles, always},
      {"data\\scripts\\s.txt", "C:\\Apps\\D x\\scripts\\s.txt", "s", "s", kDataFiles, always},
      {"data\\transitions\\t.txt", "C:\\Apps\\D x\\transitions\\t.txt", "tt", "tt", kDataFiles,
       always},
      {"data\\psys\\s.psy", "C:\\Apps\\D x\\psys\\s.psy", "%d..", "C:\\Apps\\D x", kDataFiles,
       always},
      {"data\\psys\\pals\\q.pal", "C:\\Apps\\D x\\psys\\pals\\q.pal", "q", "q", kDataFiles, always},
      {"images\\1.trm", "C:\\Apps\\P\\1.trm", "one", "one", kPictureFiles, always},
      {"images\\2.trm", "C:\\Apps\\P\\2.trm", "two", "two", kPictureFiles, always},
      {"html_docs\\f_toc.html", "C:\\Apps\\H\\f_toc.html", "toc", "toc", kHelpFiles, help},
      {"html_docs\\anims\\a.gif", "C:\\Apps\\H\\anims\\a.gif", "gif", "gif", kHelpFiles, help},
      {"html_docs\\pics\\p.gif", "C:\\Apps\\H\\pics\\p.gif", "pic", "pic", kHelpFiles, help},
  };
  return files;
}

void addSampleMedium(MemoryPlatform& computer) {
  for (const SampleFile& file : sampleFiles()) {
    computer.addFile("E:\\nt9895\\" + file.source, file.content);
  }
  computer.addFile("E:\\nt9895\\images\\more\\3.trm", "three");
  computer.addFile("E:\\nt9895\\readme.txt", "not listed");
  computer.addDirectory("C:\\Apps");
}

InstallSettings sampleSettings() {
  InstallSettings settings;
  copyPath(settings.windowsDir, "C:\\Windows");
  copyPath(settings.systemDir, "C:\\Windows\\System32");
  copyPath(settings.packageDir, "E:\\nt9895\\");
  copyPath(settings.programsFolder, "C:\\Menu\\Programs");
  copyPath(settings.programDir, "C:\\Apps\\G");
  copyPath(settings.picturesDir, "C:\\Apps\\P");
  copyPath(settings.helpDir, "C:\\Apps\\H");
  copyPath(settings.dataDir, "C:\\Apps\\D x");
  copyPath(settings.groupName, "Glim");
  return settings;
}

}  // namespace imx::test
