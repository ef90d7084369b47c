#include <common/application_error_exception.h>
#include <common/config_file.h>
#include <common/content_paths.h>
#include <common/message_log.h>
#include <vorn_lnk/file>

#include <system_error>
#include <utility>

#include "../output_file.h"
#include "config_format.h"
#include "number_text.h"

namespace Common {
namespace {

using Config::ConfigEntries;

const Vorn::Service<Log::SMessageLog> messageLog;

std::int32_t instanceCount = 0;

void ReportError(const std::string& message) { messageLog.Get()->LogError(message); }

// For SharedPath::Exists a name that is too long is a missing file; here it is a failure.
bool Exists(const std::filesystem::path& path) {
  std::error_code failure;
  const bool exists = std::filesystem::exists(path, failure);
  if (failure) throw std::filesystem::filesystem_error("exists", path, failure);
  return exists;
}

}  // namespace

class ConfigFileImpl final : public Config::SConfigFile {
 public:
  ConfigFileImpl();
  ~ConfigFileImpl() override;

  ConfigEntries ParseContent(const std::string& content, const std::string& name) override {
    return ParseEntries(content, name, ReportError);
  }
  ConfigEntries ReadFile(Vorn::SharedPath path) override;
  ConfigEntries ReadFile(const std::string& path) override;
  bool Load(const std::string& path) override;
  void Save() override { WriteFile(entries, filePath); }
  void WriteFile(const ConfigEntries& settings, const Vorn::SharedPath& path) override {
    WriteFile(settings, path.String());
  }
  void WriteFile(const ConfigEntries& settings, const std::string& path) override;
  std::string FormatEntries(const ConfigEntries& settings) override {
    return FormatEntryLines(settings);
  }
  std::string GetString(const std::string& key, const std::string& defaultValue) override;
  std::optional<std::string> FindString(const std::string& key) override;
  void SetString(const std::string& key, const std::string& value) override;
  void SetInt(const std::string& key, std::int32_t value) override;
  std::int32_t GetInt(const std::string& key, std::int32_t defaultValue) override;
  ConfigEntries Entries() override { return entries; }
  bool Remove(const std::string& key) override { return entries.erase(key) > 0; }

 private:
  const std::shared_ptr<const void> grammar = ShareGrammar();  // for reads at the very end
  ConfigEntries entries;
  std::string filePath;
};

ConfigFileImpl::ConfigFileImpl() {
  const std::string mainPath = ConfigFolder + "/" + ConfigFileName;
  Load(mainPath);
  const std::string overridePath = ConfigFolder + "/" + UserConfigFileName;
  if (Exists(Vorn::PathFromUtf8(overridePath))) Load(overridePath);
  filePath = mainPath;
}

ConfigFileImpl::~ConfigFileImpl() {
  try {
    Save();
  } catch (...) {  // MissingInstance must not leave a destructor either
  }
}

ConfigEntries ConfigFileImpl::ReadFile(Vorn::SharedPath path) {
  if (!path.Exists()) return {};
  return ParseContent(Vorn::ReadWholeFileToString(path), path.String());
}

ConfigEntries ConfigFileImpl::ReadFile(const std::string& path) {
  return ReadFile(Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(path)));
}

bool ConfigFileImpl::Load(const std::string& path) {
  filePath = path;
  ConfigEntries loaded = ReadFile(path);
  loaded.merge(entries);  // adds what the file does not hold
  entries = std::move(loaded);
  return true;
}

void ConfigFileImpl::WriteFile(const ConfigEntries& settings, const std::string& path) {
  // Made before opening truncates the file, since formatting may run out of memory.
  const std::string text = FormatEntries(settings);
  OutputFile file(Vorn::PathFromUtf8(path), OutputFile::Mode::Replace);
  if (!file.IsOpen()) {
    ReportError("File '" + path + "' write error.");
    return;
  }
  file.Write(text);
}

std::string ConfigFileImpl::GetString(const std::string& key, const std::string& defaultValue) {
  return entries.try_emplace(key, defaultValue).first->second;
}

std::optional<std::string> ConfigFileImpl::FindString(const std::string& key) {
  const auto entry = entries.find(key);
  if (entry == entries.end()) return std::nullopt;
  return entry->second;
}

void ConfigFileImpl::SetString(const std::string& key, const std::string& value) {
  entries.insert_or_assign(key, value);
}

void ConfigFileImpl::SetInt(const std::string& key, std::int32_t value) {
  SetString(key, FormatInt(value));
}

std::int32_t ConfigFileImpl::GetInt(const std::string& key, std::int32_t defaultValue) {
  return ParseInt(GetString(key, FormatInt(defaultValue))).value_or(defaultValue);
}

Config::SConfigFile* ManufactureConfigFile() {
  ++instanceCount;
  if (instanceCount > 1) {
    // The odd spelling is part of the contract.
    throw ApplicationErrorException("Multiple instances of SCOnfigFile");
  }
  return new ConfigFileImpl;
}

}  // namespace Common
