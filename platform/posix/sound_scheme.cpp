#include "platform/sound_scheme.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/sound_scheme_text.h"
#include "platform/posix/unique_fd.h"
#include "platform/posix/write_all.h"

namespace Tavro_KVO_Util::platform {

// The key's names folded for comparison (see FoldPath); the root is the empty path.
struct SchemeKey::State {
  std::vector<std::wstring> path;
  unsigned long access = 0;
};

SchemeKey::SchemeKey() = default;
SchemeKey::~SchemeKey() = default;
SchemeKey::SchemeKey(SchemeKey&& other) noexcept = default;
SchemeKey& SchemeKey::operator=(SchemeKey&& other) noexcept = default;
bool SchemeKey::IsOpen() const { return mState != nullptr; }
void SchemeKey::Close() { mState.reset(); }

namespace {

using scheme_text::AddKey;
using scheme_text::EncodeStore;
using scheme_text::Exists;
using scheme_text::FoldPath;
using scheme_text::KeyEntry;
using scheme_text::KeyPath;
using scheme_text::ParseStore;
using scheme_text::SplitPath;
using scheme_text::Store;
using scheme_text::Subkeys;

// Windows error codes beyond the contract's own (see the header's Linux paragraph).
constexpr long kPathNotFound = 3;         // ERROR_PATH_NOT_FOUND
constexpr long kTooManyOpenFiles = 4;     // ERROR_TOO_MANY_OPEN_FILES
constexpr long kInvalidHandle = 6;        // ERROR_INVALID_HANDLE: the key is not open
constexpr long kOutOfMemory = 14;         // ERROR_OUTOFMEMORY
constexpr long kDiskFull = 112;           // ERROR_DISK_FULL
constexpr long kBadPathname = 161;        // ERROR_BAD_PATHNAME
constexpr long kNameTooLong = 206;        // ERROR_FILENAME_EXCED_RANGE
constexpr long kRegistryIoFailed = 1016;  // ERROR_REGISTRY_IO_FAILED: any other I/O error

// The rights each operation needs, as the registry checks them on the handle.
constexpr unsigned long kQueryValue = 0x0001;        // KEY_QUERY_VALUE
constexpr unsigned long kSetValue = 0x0002;          // KEY_SET_VALUE
constexpr unsigned long kEnumerateSubKeys = 0x0008;  // KEY_ENUMERATE_SUB_KEYS

constexpr char kFileName[] = "sound-scheme.ini";

long ErrorFromErrno(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return kSchemeAccessDenied;
    case ENOSPC:
    case EDQUOT:
      return kDiskFull;
    case ENOENT:
    case ENOTDIR:
      return kPathNotFound;
    case ENAMETOOLONG:
      return kNameTooLong;
    case EMFILE:
    case ENFILE:
      return kTooManyOpenFiles;
    case ENOMEM:
      return kOutOfMemory;
    default:
      return kRegistryIoFailed;
  }
}

// Nothing is thrown across the interface; the only exceptions here come from allocating.
template <typename Body>
long Guarded(Body body) noexcept {
  try {
    return body();
  } catch (const std::exception&) {
    return kOutOfMemory;
  }
}

// UTF-16 code units of `text` as the file holds it (see EncodeStore), the unit the registry counts
// in.
std::size_t Utf16Length(const std::wstring& text) {
  std::size_t units = 0;
  for (const wchar_t c : text) {
    const auto code = static_cast<char32_t>(c);
    units += code > 0xFFFF && code <= 0x10FFFF ? 2 : 1;
  }
  return units;
}

// ---- The file -------------------------------------------------------------------------------

// Read from the environment at every call. A relative XDG_CONFIG_HOME is ignored, as the XDG base
// directory rules say.
long StoreFolder(std::string& folder) {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config != nullptr && config[0] == '/') {
    folder = std::string(config) + "/TavroMedivane";
    return kSchemeSuccess;
  }
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] == '\0') return kPathNotFound;
  folder = std::string(home) + "/.config/TavroMedivane";
  return kSchemeSuccess;
}

// Makes the folder and its missing parents, new ones private to the user.
long MakeFolders(const std::string& folder) {
  for (std::size_t end = folder.find('/', 1);; end = folder.find('/', end + 1)) {
    if (::mkdir(folder.substr(0, end).c_str(), 0700) != 0 && errno != EEXIST) return ErrorFromErrno(errno);
    if (end == std::string::npos) return kSchemeSuccess;
  }
}

// The lock lives in a file of its own because every change replaces the store's inode. Held
// until `lock` closes.
long Lock(const std::string& folder, int operation, UniqueFd& lock) {
  const std::string path = folder + "/" + kFileName + ".lock";
  lock.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!lock && (errno == EACCES || errno == EROFS)) lock.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!lock) return ErrorFromErrno(errno);
  while (::flock(lock.get(), operation) != 0) {
    if (errno != EINTR) return ErrorFromErrno(errno);
  }
  return kSchemeSuccess;
}

// A missing file is an empty store.
long ReadStoreFile(const std::string& folder, Store& store) {
  store.clear();
  const UniqueFd fd(::open((folder + "/" + kFileName).c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) return errno == ENOENT ? kSchemeSuccess : ErrorFromErrno(errno);
  std::string bytes;
  char buffer[16384];
  for (;;) {
    const ssize_t got = ::read(fd.get(), buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return ErrorFromErrno(errno);
    if (got == 0) break;
    bytes.append(buffer, static_cast<std::size_t>(got));
  }
  store = ParseStore(bytes);
  return kSchemeSuccess;
}

long DiscardTemporary(const std::string& temporary, int error) {
  ::unlink(temporary.c_str());
  return ErrorFromErrno(error);
}

// Writes the whole store to a file of its own, flushed to the disk, then renames it over the old
// one: a reader, and whoever comes after a crash, sees the old file or the new one, never a mix.
long ReplaceStoreFile(const std::string& folder, const Store& store) {
  const std::string bytes = EncodeStore(store);
  const std::string file = folder + "/" + kFileName;
  const std::string temporary = file + ".tmp." + std::to_string(::getpid());
  UniqueFd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!fd) return ErrorFromErrno(errno);
  std::size_t written = 0;
  if (!WriteAll(fd.get(), bytes.data(), bytes.size(), written) || ::fsync(fd.get()) != 0) {
    return DiscardTemporary(temporary, errno);
  }
  if (::close(fd.release()) != 0 || ::rename(temporary.c_str(), file.c_str()) != 0) {
    return DiscardTemporary(temporary, errno);
  }
  // The rename itself reaches the disk with the folder; the change is made either way.
  if (const UniqueFd directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)); directory) {
    ::fsync(directory.get());
  }
  return kSchemeSuccess;
}

// Runs `look(store)` on the store as it is now. Readers take the shared lock when they can; the
// rename alone already keeps what they read whole, so a lock file that cannot be made (a
// read-only folder) does not stop them, and a missing folder is an empty store.
template <typename Look>
long LookAtStore(Look look) {
  std::string folder;
  if (const long result = StoreFolder(folder); result != kSchemeSuccess) return result;
  UniqueFd lock;
  Store store;
  if (Lock(folder, LOCK_SH, lock) == kPathNotFound) return look(static_cast<const Store&>(store));
  if (const long result = ReadStoreFile(folder, store); result != kSchemeSuccess) return result;
  return look(static_cast<const Store&>(store));
}

// Runs `change(store, changed)` under the exclusive lock and writes the store back when it
// succeeded and says it changed something.
template <typename Change>
long ChangeStore(Change change) {
  std::string folder;
  long result = StoreFolder(folder);
  if (result == kSchemeSuccess) result = MakeFolders(folder);
  UniqueFd lock;
  if (result == kSchemeSuccess) result = Lock(folder, LOCK_EX, lock);
  Store store;
  if (result == kSchemeSuccess) result = ReadStoreFile(folder, store);
  bool changed = false;
  if (result == kSchemeSuccess) result = change(store, changed);
  if (result == kSchemeSuccess && changed) result = ReplaceStoreFile(folder, store);
  return result;
}

// kSchemeSuccess when `key` is open with all of `needed`.
long CheckKey(const SchemeKey& key, unsigned long needed) {
  if (!key.IsOpen()) return kInvalidHandle;
  return (key.state()->access & needed) == needed ? kSchemeSuccess : kSchemeAccessDenied;
}

}  // namespace

long CreateSchemeKey(const std::wstring& path, SchemeKey& key) {
  key.Close();
  return Guarded([&] {
    std::vector<std::wstring> names;
    if (!SplitPath(path, names)) return kBadPathname;
    const long result = ChangeStore([&](Store& store, bool& changed) {
      changed = AddKey(store, names);
      return kSchemeSuccess;
    });
    if (result == kSchemeSuccess) {
      key.mState = std::make_unique<SchemeKey::State>(SchemeKey::State{FoldPath(names), kSchemeAllAccess});
    }
    return result;
  });
}

long OpenSchemeKey(const std::wstring& path, unsigned long access, SchemeKey& key) {
  key.Close();
  return Guarded([&] {
    std::vector<std::wstring> names;
    if (!SplitPath(path, names)) return kBadPathname;
    KeyPath folded = FoldPath(names);
    const long result = LookAtStore(
        [&](const Store& store) { return Exists(store, folded) ? kSchemeSuccess : kSchemeFileNotFound; });
    if (result == kSchemeSuccess) {
      key.mState = std::make_unique<SchemeKey::State>(SchemeKey::State{std::move(folded), access});
    }
    return result;
  });
}

long SetSchemeDefaultValue(const SchemeKey& key, unsigned long type, const std::wstring& value) {
  if (const long checked = CheckKey(key, kSetValue); checked != kSchemeSuccess) return checked;
  return Guarded([&] {
    return ChangeStore([&](Store& store, bool& changed) {
      if (key.state()->path.empty()) return kSchemeAccessDenied;  // the root holds no value here
      const auto found = store.find(key.state()->path);
      if (found == store.end()) return kSchemeKeyDeleted;
      found->second.hasValue = true;
      found->second.type = type;
      found->second.value = value;
      changed = true;
      return kSchemeSuccess;
    });
  });
}

// No access check: RegDeleteKeyW opens the key again for deletion, so the handle's own rights do
// not matter there either.
long DeleteOpenSchemeKey(const SchemeKey& key) {
  if (!key.IsOpen()) return kInvalidHandle;
  return Guarded([&] {
    return ChangeStore([&](Store& store, bool& changed) {
      const KeyPath& path = key.state()->path;
      if (path.empty()) return kSchemeAccessDenied;
      const auto found = store.find(path);
      if (found == store.end()) return kSchemeKeyDeleted;
      if (!Subkeys(store, path).empty()) return kSchemeAccessDenied;
      store.erase(found);
      changed = true;
      return kSchemeSuccess;
    });
  });
}

long EnumSchemeSubkey(const SchemeKey& key, unsigned long index, std::size_t maxChars, std::wstring& name) {
  if (const long checked = CheckKey(key, kEnumerateSubKeys); checked != kSchemeSuccess) return checked;
  return Guarded([&] {
    return LookAtStore([&](const Store& store) {
      if (!Exists(store, key.state()->path)) return kSchemeKeyDeleted;
      const std::vector<const KeyEntry*> subkeys = Subkeys(store, key.state()->path);
      if (index >= subkeys.size()) return kSchemeNoMoreItems;
      const std::wstring& found = subkeys[index]->names.back();
      if (Utf16Length(found) + 1 > maxChars) return kSchemeMoreData;
      name = found;
      return kSchemeSuccess;
    });
  });
}

long ReadSchemeDefaultValue(const SchemeKey& key, std::size_t maxBytes, unsigned long& type,
                            std::wstring& value) {
  if (const long checked = CheckKey(key, kQueryValue); checked != kSchemeSuccess) return checked;
  return Guarded([&] {
    return LookAtStore([&](const Store& store) {
      const KeyPath& path = key.state()->path;
      if (!Exists(store, path)) return kSchemeKeyDeleted;
      const auto found = store.find(path);
      if (found == store.end() || !found->second.hasValue) return kSchemeFileNotFound;
      const KeyEntry& entry = found->second;
      if ((Utf16Length(entry.value) + 1) * 2 > maxBytes) return kSchemeMoreData;
      type = entry.type;
      value = entry.value.substr(0, entry.value.find(L'\0'));
      return kSchemeSuccess;
    });
  });
}

}  // namespace Tavro_KVO_Util::platform
