// What a later removal needs of the system: digests, the list's guarded folder, the registry.
#include "setup/win32/setup_host.h"

// After the base header.
#include <sddl.h>
#include <shlobj.h>
#include <wincrypt.h>

namespace imx {
namespace {

// Declared for later systems only; XP has it since its third service pack.
constexpr ALG_ID kSha256 = ALG_CLASS_HASH | ALG_TYPE_ANY | 12;
constexpr DWORD kDigestSize = kSha256Digits / 2;

void writeHex(const BYTE (&bytes)[kDigestSize], Sha256Text& text) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < kDigestSize; ++i) {
    text[2 * i] = kDigits[bytes[i] >> 4];
    text[2 * i + 1] = kDigits[bytes[i] & 15];
  }
  text[kSha256Digits] = '\0';
}

bool feed(HANDLE file, HCRYPTHASH hash, std::uint64_t* size) {
  static BYTE buffer[1 << 16];
  DWORD count = 0;
  *size = 0;
  do {
    if (!ReadFile(file, buffer, sizeof buffer, &count, nullptr)) return false;
    *size += count;
  } while (count != 0 && CryptHashData(hash, buffer, count, 0));
  return count == 0;
}

bool hashOpened(HANDLE file, Sha256Text& digest, std::uint64_t* size) {
  HCRYPTPROV provider = 0;
  HCRYPTHASH hash = 0;
  BYTE bytes[kDigestSize] = {};
  DWORD length = sizeof bytes;
  const bool done =
      CryptAcquireContextA(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT) &&
      CryptCreateHash(provider, kSha256, 0, 0, &hash) && feed(file, hash, size) &&
      CryptGetHashParam(hash, HP_HASHVAL, bytes, &length, 0);
  const DWORD error = GetLastError();
  if (hash) CryptDestroyHash(hash);
  if (provider) CryptReleaseContext(provider, 0);
  writeHex(bytes, digest);
  SetLastError(error);
  return done;
}

bool hashFile(void* context, const char* path, Sha256Text& digest, std::uint64_t* size) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file = CreateFileA(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  const bool done = file != INVALID_HANDLE_VALUE && hashOpened(file, digest, size);
  if (!done) hostOf(context).lastError = GetLastError();
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  return done;
}

// A list or a program there that any user could change would be believed by an administrator. Where
// there are no such rights the directory does without.
bool makeGuardedDirectory(void* context, const char* path) {
  constexpr const char* kOwnerAndRights =
      "O:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;GRGX;;;BU)";
  const bool made = CreateDirectoryA(path, nullptr) != FALSE;
  if (!made && GetLastError() != ERROR_ALREADY_EXISTS) {
    hostOf(context).lastError = GetLastError();
    return false;
  }
  PSECURITY_DESCRIPTOR rights = nullptr;
  if (ConvertStringSecurityDescriptorToSecurityDescriptorA(kOwnerAndRights, SDDL_REVISION_1,
                                                           &rights, nullptr)) {
    SetFileSecurityA(path,
                     OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION |
                         PROTECTED_DACL_SECURITY_INFORMATION,
                     rights);
    LocalFree(rights);
  }
  return true;
}

// A program that runs can be moved but not removed.
void removeProgram(void*, const char* path) {
  PathText folder = {};
  PathText away = {};
  if (DeleteFileA(path)) return;
  const bool moved = GetTempPathA(sizeof folder, folder) != 0 &&
                     GetTempFileNameA(folder, "qms", 0, away) != 0 &&
                     MoveFileExA(path, away, MOVEFILE_REPLACE_EXISTING) != FALSE;
  MoveFileExA(moved ? away : path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

bool setMachineValue(void* context, const char* key, const char* name, DWORD type,
                     const void* value, std::size_t size) {
  HKEY opened = nullptr;
  LSTATUS status = RegCreateKeyExA(HKEY_LOCAL_MACHINE, key, 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                                   &opened, nullptr);
  if (status == ERROR_SUCCESS) {
    status = RegSetValueExA(opened, name, 0, type, static_cast<const BYTE*>(value),
                            static_cast<DWORD>(size));
    RegCloseKey(opened);
  }
  if (status != ERROR_SUCCESS) hostOf(context).lastError = static_cast<DWORD>(status);
  return status == ERROR_SUCCESS;
}

bool setMachineText(void* context, const char* key, const char* name, const char* value) {
  return setMachineValue(context, key, name, REG_SZ, value, std::string_view(value).size() + 1);
}

bool setMachineNumber(void* context, const char* key, const char* name, std::uint32_t value) {
  return setMachineValue(context, key, name, REG_DWORD, &value, sizeof value);
}

bool removeMachineKey(void* context, const char* key) {
  const LSTATUS status = RegDeleteKeyA(HKEY_LOCAL_MACHINE, key);
  if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) return true;
  hostOf(context).lastError = static_cast<DWORD>(status);
  return false;
}

void commonDataFolder(void* context, PathText& path) {
  path[0] = '\0';
  LPITEMIDLIST list = nullptr;
  if (FAILED(SHGetSpecialFolderLocation(hostOf(context).mainWindow, CSIDL_COMMON_APPDATA, &list))) {
    return;
  }
  if (!SHGetPathFromIDListA(list, path)) path[0] = '\0';
  CoTaskMemFree(list);
}

void ownPath(void*, PathText& path) {
  const DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
  if (length >= kPathSize) path[0] = '\0';
}

}  // namespace

void fillRegistrationFunctions(Platform& platform) {
  platform.hashFile = hashFile;
  platform.makeGuardedDirectory = makeGuardedDirectory;
  platform.removeProgram = removeProgram;
  platform.setMachineText = setMachineText;
  platform.setMachineNumber = setMachineNumber;
  platform.removeMachineKey = removeMachineKey;
  platform.commonDataFolder = commonDataFolder;
  platform.ownPath = ownPath;
}

}  // namespace imx
