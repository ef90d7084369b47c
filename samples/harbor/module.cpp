#include "module.h"

#include <stdexcept>

#ifdef _WIN32
#include <windows.h>

#include <system_error>
#else
#include <dlfcn.h>
#endif
#ifdef __APPLE__
#include <mach-o/dyld.h>

#include <cstdint>
#endif

namespace Harbor {

#if defined(_WIN32) || defined(__APPLE__)
constexpr std::size_t LongestPath = 32'768;
#endif

#ifdef _WIN32

namespace {

HMODULE Load(const std::filesystem::path& file) {
  SetErrorMode(SEM_FAILCRITICALERRORS);  // no dialog: nobody would answer it
  const HMODULE module = LoadLibraryW(file.c_str());
  if (module == nullptr) {
    throw std::runtime_error(std::system_category().message(static_cast<int>(GetLastError())));
  }
  return module;
}

}  // namespace

const char* const Module::FileEnding = ".dll";

Module::Module(const std::filesystem::path& file) : handle(Load(file)) {}

Module::~Module() { FreeLibrary(static_cast<HMODULE>(handle)); }

void* Module::Find(const std::string& name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle), name.c_str()));
}

bool Module::IsLoaded(const std::filesystem::path& file) {
  return GetModuleHandleW(file.c_str()) != nullptr;
}

std::filesystem::path ProgramFolder() {
  std::wstring file(LongestPath, L'\0');
  file.resize(GetModuleFileNameW(nullptr, file.data(), LongestPath));
  return std::filesystem::path(file).parent_path();
}

#else

namespace {

void* Load(const std::filesystem::path& file) {
  void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc keeps the message for each thread apart.
  if (module == nullptr) throw std::runtime_error(dlerror());
  return module;
}

}  // namespace

const char* const Module::FileEnding = ".so";

Module::Module(const std::filesystem::path& file) : handle(Load(file)) {}

Module::~Module() { dlclose(handle); }

void* Module::Find(const std::string& name) const { return dlsym(handle, name.c_str()); }

bool Module::IsLoaded(const std::filesystem::path& file) {
  void* const found = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (found == nullptr) return false;
  dlclose(found);
  return true;
}

std::filesystem::path ProgramFolder() {
#ifdef __APPLE__
  std::string file(LongestPath, '\0');
  auto size = static_cast<std::uint32_t>(file.size());
  if (_NSGetExecutablePath(file.data(), &size) != 0) throw std::runtime_error("no program's path");
  return std::filesystem::canonical(file.c_str()).parent_path();
#else
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
#endif
}

#endif

}  // namespace Harbor
