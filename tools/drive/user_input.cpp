#include "tools/drive/user_input.h"

#include <cctype>
#include <cstring>

// After the system's basic header.
#include <shlobj.h>

namespace imx {

namespace {

constexpr DWORD kPollMilliseconds = 20;
const char kMenuClass[] = "#32768";

LPARAM Place(POINT point) {
  return MAKELPARAM(point.x, point.y);
}

/// The block that WM_DROPFILES points at.
std::vector<char> DropBlock(const std::vector<std::string>& paths) {
  DROPFILES header{};
  header.pFiles = sizeof header;
  std::vector<char> block(sizeof header);
  std::memcpy(block.data(), &header, sizeof header);
  for (const std::string& path : paths) {
    block.insert(block.end(), path.c_str(), path.c_str() + path.size() + 1);
  }
  block.push_back('\0');
  return block;
}

}  // namespace

void TypeKey(HWND window, int key) {
  PostMessageA(window, WM_KEYDOWN, static_cast<WPARAM>(key), 1);
  PostMessageA(window, WM_KEYUP, static_cast<WPARAM>(key), static_cast<LPARAM>(0xC0000001));
}

bool TypeControlKey(const DrivenProgram& program, char letter, DWORD milliseconds) {
  // A window that has just been shown has the keyboard a moment later.
  const DWORD start = GetTickCount();
  for (DWORD owner = 0; owner != program.id; Sleep(kPollMilliseconds)) {
    GetWindowThreadProcessId(GetForegroundWindow(), &owner);
    if (owner != program.id && GetTickCount() - start > milliseconds) return false;
  }
  const auto key = static_cast<WORD>(std::toupper(static_cast<unsigned char>(letter)));
  INPUT inputs[4]{};
  const WORD keys[] = {VK_CONTROL, key, key, VK_CONTROL};
  for (int i = 0; i < 4; ++i) {
    inputs[i].type = INPUT_KEYBOARD;
    inputs[i].ki.wVk = keys[i];
    inputs[i].ki.dwFlags = i < 2 ? 0 : KEYEVENTF_KEYUP;
  }
  return SendInput(4, inputs, sizeof inputs[0]) == 4;
}

HWND OpenMenu(const DrivenProgram& program, HWND window, char letter, DWORD milliseconds) {
  PostMessageA(window, WM_SYSCOMMAND, SC_KEYMENU, letter);
  return WaitForWindowOfClass(program, kMenuClass, milliseconds);
}

void ChooseInMenu(HWND window, char letter) {
  PostMessageA(window, WM_CHAR, static_cast<WPARAM>(letter), 1);
}

void DragMouse(HWND window, POINT from, POINT to) {
  PostMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, Place(from));
  PostMessageA(window, WM_MOUSEMOVE, MK_LBUTTON, Place(to));
  PostMessageA(window, WM_LBUTTONUP, 0, Place(to));
}

bool DropFiles(const DrivenProgram& program, HWND window, const std::vector<std::string>& paths) {
  // The handle of a fixed block is its address. The receiver cannot release this one, which is
  // not from its heap; it goes with the process.
  const std::vector<char> block = DropBlock(paths);
  void* const there = VirtualAllocEx(program.process, nullptr, block.size(),
                                     MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  return there && WriteProcessMemory(program.process, there, block.data(), block.size(), nullptr) &&
         PostMessageA(window, WM_DROPFILES, reinterpret_cast<WPARAM>(there), 0);
}

}  // namespace imx
