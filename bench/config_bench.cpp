// Configuration store speed: parsing against inih, the unchanged-file check of Reload against the
// bare system calls it cannot avoid, and lookups in a large store. Names pair up
// (BM_ConfigParse_Ansi1MiB next to BM_InihParse_Ansi1MiB) so ratios read off directly;
// config_ratios.py computes them and checks the goals.
//
// inih reads 8-bit text only, so the UTF-16LE parse is set against inih reading the same lines in
// 8-bit: both sides then turn the same lines into the same map, from files of different sizes.
// inih knows ";" comments, not "//": its copy of the file has every "//" replaced by ";;", which
// keeps every line's length and leaves inih the same comment stripping to do.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <ini.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Config.h"

namespace {

using Tavro_KVO_Util::CFG_SUCCESS;
using Tavro_KVO_Util::Config;

constexpr std::size_t kAnsiSize = std::size_t{1} << 20;
constexpr int kStoreKeys = 10000;
constexpr std::size_t kLookupOrder = 4096;  // a power of two: the lookup loops wrap with a mask

// The benchmark files, written once before any benchmark runs and removed at exit.
struct Files {
  std::filesystem::path dir;
  std::filesystem::path ansi;   // about 1 MiB of 8-bit text
  std::filesystem::path utf16;  // the same lines in UTF-16LE behind a mark
  std::filesystem::path inih;   // the same lines with ";;" for "//"
  std::filesystem::path store;  // kStoreKeys keys, for lookups
  std::size_t ansiBytes = 0;
  std::size_t utf16Bytes = 0;
  std::vector<std::wstring> storeKeys;
};

Files gFiles;

std::string Key(int section, int key) {
  return "/Tavro/MedivaneSDK/Section" + std::to_string(section) + "/Key" + std::to_string(key);
}

// Values of the kinds a product file holds: numbers, flags, paths, words.
std::string Value(std::mt19937& rng, int key) {
  switch (rng() % 5) {
    case 0:
      return std::to_string(rng() % 100000);
    case 1:
      return rng() % 2 ? "true" : "false";
    case 2:
      return "C:\\Program Files\\Tavro\\Medivane\\Bin\\module" + std::to_string(key) + ".dll";
    case 3:
      return "some value " + std::to_string(key);
    default:
      return "0x" + std::to_string(rng() % 0xFFFF);
  }
}

// One line of a realistic file: mostly `key = value`, a third of them with a trailing comment,
// with comment lines before each section and blank lines between sections.
std::string Line(std::mt19937& rng, int index) {
  const int section = index / 40;
  const int slot = index % 40;
  if (slot == 0) return "";
  if (slot == 1)
    return "// Section " + std::to_string(section) + ": read at start-up, changed by the service tool";
  const std::string value = Value(rng, index);
  std::string line = Key(section, index) + (rng() % 2 ? " = " : "=") + value;
  if (rng() % 3 == 0) line += "   // default " + std::to_string(rng() % 1000) + ", see the service manual";
  return line;
}

// Lines joined with CR LF until the text would pass `limit` bytes.
std::vector<std::string> Lines(std::size_t limit) {
  std::mt19937 rng(20240611);
  std::vector<std::string> lines;
  std::size_t size = 0;
  for (int i = 0;; ++i) {
    std::string line = Line(rng, i);
    if (size + line.size() + 2 > limit) break;
    size += line.size() + 2;
    lines.push_back(std::move(line));
  }
  return lines;
}

std::string JoinCrLf(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

std::string Utf16LeWithMark(const std::string& ansi) {
  std::string bytes("\xFF\xFE", 2);
  for (const char c : ansi) {
    bytes.push_back(c);
    bytes.push_back('\0');
  }
  return bytes;
}

std::string InihComments(std::string text) {
  for (std::size_t at = text.find("//"); at != std::string::npos; at = text.find("//", at + 2)) {
    text.replace(at, 2, ";;");
  }
  return text;
}

void Write(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

bool MakeFiles() {
  char pattern[] = "/tmp/config-bench-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) return false;
  gFiles.dir = pattern;
  gFiles.ansi = gFiles.dir / "ansi_1mib.cfg";
  gFiles.utf16 = gFiles.dir / "utf16le_2mib.cfg";
  gFiles.inih = gFiles.dir / "inih_1mib.ini";
  gFiles.store = gFiles.dir / "store_10k.cfg";

  const std::string ansi = JoinCrLf(Lines(kAnsiSize));
  const std::string utf16 = Utf16LeWithMark(ansi);
  gFiles.ansiBytes = ansi.size();
  gFiles.utf16Bytes = utf16.size();
  Write(gFiles.ansi, ansi);
  Write(gFiles.utf16, utf16);
  Write(gFiles.inih, InihComments(ansi));

  std::mt19937 rng(7);
  std::string store;
  for (int i = 0; i < kStoreKeys; ++i) {
    const std::string key = Key(i / 100, i);
    store += key + " = " + Value(rng, i) + "\r\n";
    gFiles.storeKeys.emplace_back(key.begin(), key.end());
  }
  Write(gFiles.store, store);
  return true;
}

int InihInsert(void* user, const char* /*section*/, const char* name, const char* value) {
  (*static_cast<std::map<std::string, std::string>*>(user))[name] = value;
  return 1;
}

// Both parsers must turn their files into the same map, or the race compares different work.
bool SameMaps() {
  std::map<std::string, std::string> theirs;
  if (ini_parse(gFiles.inih.string().c_str(), InihInsert, &theirs) != 0) return false;
  for (const auto& file : {gFiles.ansi, gFiles.utf16}) {
    const Config config(file.wstring().c_str(), /*logging=*/false, /*writable=*/false);
    std::map<std::wstring, std::wstring> wide;
    config.GetSection(L"", wide);
    std::map<std::string, std::string> ours;
    for (const auto& [key, value] : wide) {
      ours.emplace(std::string(key.begin(), key.end()), std::string(value.begin(), value.end()));
    }
    if (ours != theirs) return false;
  }
  return !theirs.empty();
}

// ---- Parse ----

void ParseWithConfig(benchmark::State& state, const std::filesystem::path& file, std::size_t bytes) {
  const std::wstring path = file.wstring();
  for (auto _ : state) {
    Config config(path.c_str(), /*logging=*/false, /*writable=*/false);
    // Construction parses; SameMaps() showed before the run what the parse gives. Copying the map
    // out here would cost a third as much as the parse itself.
    if (!config.WasReloaded()) {
      state.SkipWithError("the file was not parsed");
      break;
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

void BM_ConfigParse_Ansi1MiB(benchmark::State& state) {
  ParseWithConfig(state, gFiles.ansi, gFiles.ansiBytes);
}

void BM_ConfigParse_Utf16Le2MiB(benchmark::State& state) {
  ParseWithConfig(state, gFiles.utf16, gFiles.utf16Bytes);
}

void BM_InihParse_Ansi1MiB(benchmark::State& state) {
  const std::string path = gFiles.inih.string();
  for (auto _ : state) {
    std::map<std::string, std::string> all;
    if (ini_parse(path.c_str(), InihInsert, &all) != 0) {
      state.SkipWithError("inih reported a parse error");
      break;
    }
    benchmark::DoNotOptimize(all);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * gFiles.ansiBytes));
}

// ---- Reload on an unchanged file ----

void BM_ConfigReload_Unchanged(benchmark::State& state) {
  Config config(gFiles.ansi.wstring().c_str(), /*logging=*/false, /*writable=*/false);
  bool reparsed = false;
  for (auto _ : state) {
    benchmark::DoNotOptimize(config.Reload(false));
    reparsed = reparsed || config.WasReloaded();
  }
  // A reparse of 1 MiB would swamp the check being measured: the number would mean nothing.
  if (reparsed) state.SkipWithError("Reload(false) reparsed an unchanged file");
}

// The least any check of the last-write time costs on Linux: open, fstat, close.
void BM_FileStampFloor(benchmark::State& state) {
  const std::string path = gFiles.ansi.string();
  for (auto _ : state) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info {};
    ::fstat(fd, &info);
    ::close(fd);
    benchmark::DoNotOptimize(info.st_mtim);
  }
}

// The one system call Reload makes on Linux: stat by path, on the same file. Reload(false) on the
// unchanged file may cost at most 1.2 times this: the rest is the store's lock and a compare.
void BM_FileStatOnly(benchmark::State& state) {
  const std::string path = gFiles.ansi.string();
  for (auto _ : state) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    benchmark::DoNotOptimize(info.st_mtim);
  }
}

// ---- Lookups in a 10,000-key store ----

std::vector<std::size_t> LookupOrder() {
  std::mt19937 rng(99);
  std::vector<std::size_t> order(kLookupOrder);
  for (auto& index : order) index = rng() % kStoreKeys;
  return order;
}

void BM_ConfigGetParameter_Hit10k(benchmark::State& state) {
  const Config config(gFiles.store.wstring().c_str(), /*logging=*/false, /*writable=*/false);
  const std::vector<std::size_t> order = LookupOrder();
  std::wstring value;
  std::size_t i = 0;
  for (auto _ : state) {
    if (config.GetParameter(gFiles.storeKeys[order[i++ & (kLookupOrder - 1)]], value) != CFG_SUCCESS) {
      state.SkipWithError("an existing key was not found");
      break;
    }
    benchmark::DoNotOptimize(value);
  }
}

void BM_ConfigGetParameter_Miss10k(benchmark::State& state) {
  const Config config(gFiles.store.wstring().c_str(), /*logging=*/false, /*writable=*/false);
  const std::wstring missing = L"/Tavro/MedivaneSDK/Section50/Missing";
  std::wstring value;
  for (auto _ : state) benchmark::DoNotOptimize(config.GetParameter(missing, value));
}

// What a lookup costs at the least: find in the same map and copy the value out.
void BM_MapFind_Hit10k(benchmark::State& state) {
  const Config config(gFiles.store.wstring().c_str(), /*logging=*/false, /*writable=*/false);
  std::map<std::wstring, std::wstring> map;
  config.GetSection(L"", map);
  const std::vector<std::size_t> order = LookupOrder();
  std::wstring value;
  std::size_t i = 0;
  for (auto _ : state) {
    const auto found = map.find(gFiles.storeKeys[order[i++ & (kLookupOrder - 1)]]);
    if (found != map.end()) value = found->second;
    benchmark::DoNotOptimize(value);
  }
}

}  // namespace

BENCHMARK(BM_ConfigParse_Ansi1MiB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConfigParse_Utf16Le2MiB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InihParse_Ansi1MiB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConfigReload_Unchanged);
BENCHMARK(BM_FileStampFloor);
BENCHMARK(BM_FileStatOnly);
BENCHMARK(BM_ConfigGetParameter_Hit10k);
BENCHMARK(BM_ConfigGetParameter_Miss10k);
BENCHMARK(BM_MapFind_Hit10k);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (!MakeFiles()) {
    std::perror("config_bench: cannot make the temporary directory");
    return 1;
  }
  if (!SameMaps()) {
    std::fprintf(stderr, "config_bench: the store and inih read different maps from the same lines\n");
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove_all(gFiles.dir, ignored);
  return 0;
}
