// The configuration functions of the C interface: a tmu_config is a Config the caller owns.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Config.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "platform/utf8.h"

struct tmu_config {
  Tavro_KVO_Util::Config store;
  template <typename... Arguments>
  explicit tmu_config(Arguments&&... arguments) : store(std::forward<Arguments>(arguments)...) {}
};

namespace {

using Tavro_KVO_Util::c_api::CopyForCaller;
using Tavro_KVO_Util::c_api::CopyRecordsOut;
using Tavro_KVO_Util::c_api::CopyTextOut;
using Tavro_KVO_Util::c_api::Guarded;
using Tavro_KVO_Util::c_api::Present;
using Tavro_KVO_Util::c_api::WideArgument;
using Tavro_KVO_Util::platform::WideToUtf8;

tmu_status Opened(tmu_config** out, std::unique_ptr<tmu_config> config) {
  *out = config.release();
  return TMU_CFG_SUCCESS;
}

// The pairs of `entries` as one block of NUL-terminated texts, for the caller to free.
tmu_status PairsOut(tmu_status found, const std::map<std::wstring, std::wstring>& entries, char** pairs,
                    size_t* count) {
  if (found != TMU_CFG_SUCCESS) return found;
  std::string block;
  for (const auto& [key, value] : entries) {
    block += WideToUtf8(key);
    block += '\0';
    block += WideToUtf8(value);
    block += '\0';
  }
  void* copy = CopyForCaller(block.data(), block.size());
  if (copy == nullptr) return TMU_OUT_OF_MEMORY;
  *pairs = static_cast<char*>(copy);
  *count = entries.size();
  return TMU_CFG_SUCCESS;
}

}  // namespace

extern "C" {

tmu_status tmu_config_open_default(int logging, int writable, tmu_config** config) {
  return Guarded("tmu_config_open_default", [&]() -> tmu_status {
    if (!Present("tmu_config_open_default", "config", config)) return TMU_INVALID_ARGUMENT;
    *config = nullptr;
    return Opened(config, std::make_unique<tmu_config>(logging != 0, writable != 0));
  });
}

tmu_status tmu_config_open(const char* path, int logging, int writable, tmu_config** config) {
  return Guarded("tmu_config_open", [&]() -> tmu_status {
    if (!Present("tmu_config_open", "config", config)) return TMU_INVALID_ARGUMENT;
    *config = nullptr;
    std::wstring widePath;
    if (!WideArgument("tmu_config_open", "path", path, widePath)) return TMU_INVALID_ARGUMENT;
    return Opened(config, std::make_unique<tmu_config>(widePath.c_str(), logging != 0, writable != 0));
  });
}

void tmu_config_close(tmu_config* config) { delete config; }

tmu_status tmu_config_reload(tmu_config* config, int force) {
  return Guarded("tmu_config_reload", [&]() -> tmu_status {
    if (!Present("tmu_config_reload", "config", config)) return TMU_INVALID_ARGUMENT;
    return config->store.Reload(force != 0);
  });
}

tmu_status tmu_config_get_text(const tmu_config* config, const char* key, char* buffer, size_t capacity,
                               size_t* length) {
  return Guarded("tmu_config_get_text", [&]() -> tmu_status {
    std::wstring wideKey;
    if (!Present("tmu_config_get_text", "config", config) ||
        !Present("tmu_config_get_text", "length", length) ||
        !WideArgument("tmu_config_get_text", "key", key, wideKey)) {
      return TMU_INVALID_ARGUMENT;
    }
    *length = 0;
    std::wstring value;
    const tmu_status found = config->store.GetParameter(wideKey, value);
    if (found != TMU_CFG_SUCCESS) return found;
    return CopyTextOut(WideToUtf8(value), buffer, capacity, length);
  });
}

tmu_status tmu_config_get_long(const tmu_config* config, const char* key, int64_t* value) {
  return Guarded("tmu_config_get_long", [&]() -> tmu_status {
    std::wstring wideKey;
    if (!Present("tmu_config_get_long", "config", config) ||
        !Present("tmu_config_get_long", "value", value) ||
        !WideArgument("tmu_config_get_long", "key", key, wideKey)) {
      return TMU_INVALID_ARGUMENT;
    }
    long number = 0;
    const tmu_status found = config->store.GetParameter(wideKey, number);
    if (found == TMU_CFG_SUCCESS) *value = number;
    return found;
  });
}

tmu_status tmu_config_get_double(const tmu_config* config, const char* key, double* value) {
  return Guarded("tmu_config_get_double", [&]() -> tmu_status {
    std::wstring wideKey;
    if (!Present("tmu_config_get_double", "config", config) ||
        !Present("tmu_config_get_double", "value", value) ||
        !WideArgument("tmu_config_get_double", "key", key, wideKey)) {
      return TMU_INVALID_ARGUMENT;
    }
    double number = 0;
    const tmu_status found = config->store.GetParameter(wideKey, number);
    if (found == TMU_CFG_SUCCESS) *value = number;
    return found;
  });
}

tmu_status tmu_config_get_uint64(const tmu_config* config, const char* key, int radix, uint64_t* value) {
  return Guarded("tmu_config_get_uint64", [&]() -> tmu_status {
    std::wstring wideKey;
    if (!Present("tmu_config_get_uint64", "config", config) ||
        !Present("tmu_config_get_uint64", "value", value) ||
        !WideArgument("tmu_config_get_uint64", "key", key, wideKey)) {
      return TMU_INVALID_ARGUMENT;
    }
    unsigned long long number = 0;
    const tmu_status found = config->store.GetParameter(wideKey, radix, number);
    if (found == TMU_CFG_SUCCESS) *value = number;
    return found;
  });
}

tmu_status tmu_config_set(tmu_config* config, const char* key, const char* value) {
  return Guarded("tmu_config_set", [&]() -> tmu_status {
    std::wstring wideKey;
    std::wstring wideValue;
    if (!Present("tmu_config_set", "config", config) ||
        !WideArgument("tmu_config_set", "key", key, wideKey) ||
        !WideArgument("tmu_config_set", "value", value, wideValue)) {
      return TMU_INVALID_ARGUMENT;
    }
    return config->store.SetParameter(wideKey, wideValue.c_str());
  });
}

tmu_status tmu_config_section(const tmu_config* config, const char* section, char** pairs, size_t* count) {
  return Guarded("tmu_config_section", [&]() -> tmu_status {
    std::wstring wideSection;
    if (!Present("tmu_config_section", "config", config) || !Present("tmu_config_section", "pairs", pairs) ||
        !Present("tmu_config_section", "count", count)) {
      return TMU_INVALID_ARGUMENT;
    }
    *pairs = nullptr;
    *count = 0;
    if (!WideArgument("tmu_config_section", "section", section, wideSection)) return TMU_INVALID_ARGUMENT;
    std::map<std::wstring, std::wstring> entries;
    return PairsOut(config->store.GetSection(wideSection, entries), entries, pairs, count);
  });
}

tmu_status tmu_config_match(const tmu_config* config, const char* section, const char* name, char** pairs,
                            size_t* count) {
  return Guarded("tmu_config_match", [&]() -> tmu_status {
    std::wstring wideSection;
    std::wstring wideName;
    if (!Present("tmu_config_match", "config", config) || !Present("tmu_config_match", "pairs", pairs) ||
        !Present("tmu_config_match", "count", count)) {
      return TMU_INVALID_ARGUMENT;
    }
    *pairs = nullptr;
    *count = 0;
    if (!WideArgument("tmu_config_match", "section", section, wideSection) ||
        !WideArgument("tmu_config_match", "name", name, wideName)) {
      return TMU_INVALID_ARGUMENT;
    }
    std::map<std::wstring, std::wstring> entries;
    return PairsOut(config->store.GetMatchingKeys(wideSection, wideName, entries), entries, pairs, count);
  });
}

tmu_status tmu_config_array_indices(const tmu_config* config, const char* section, uint32_t* indices,
                                    size_t capacity, size_t* count) {
  return Guarded("tmu_config_array_indices", [&]() -> tmu_status {
    std::wstring wideSection;
    if (!Present("tmu_config_array_indices", "config", config) ||
        !Present("tmu_config_array_indices", "count", count) ||
        !WideArgument("tmu_config_array_indices", "section", section, wideSection)) {
      return TMU_INVALID_ARGUMENT;
    }
    *count = 0;
    if (capacity > 0 && !Present("tmu_config_array_indices", "indices", indices)) return TMU_INVALID_ARGUMENT;
    std::vector<unsigned int> found;
    const tmu_status status = config->store.GetArrayIndices(wideSection, found);
    if (status != TMU_CFG_SUCCESS) return status;
    const std::vector<uint32_t> numbers(found.begin(), found.end());
    return CopyRecordsOut(numbers, indices, capacity, count);
  });
}

}  // extern "C"
