// The programs that run on this machine, and the language.

#include <filesystem>
#include <fstream>
#include <string>

#include "host/System.h"
#include "platform/Text.h"
#include "workstation/ui/HostInterface.h"

namespace {

// The system keeps this many bytes of a program's name.
constexpr std::size_t kCommandNameLength = 15;

std::string firstLine(const std::filesystem::path& file, char end) {
  std::ifstream stream(file, std::ios::binary);
  std::string line;
  std::getline(stream, line, end);
  return line;
}

bool isSameName(const std::string& a, const std::string& b) {
  return platform::equalsIgnoreCase(platform::fromUtf8(a), platform::fromUtf8(b));
}

bool isProcessNamed(const std::filesystem::path& process, const std::string& name) {
  if (!isSameName(firstLine(process / "comm", '\n'), name.substr(0, kCommandNameLength))) return false;
  if (name.size() <= kCommandNameLength) return true;
  return isSameName(std::filesystem::path(firstLine(process / "cmdline", '\0')).filename().string(), name);
}

struct Language {
  int number;
  const char* code;
  const wchar_t* shortness;
};
constexpr Language kLanguages[] = {{1, "de", L"de"}, {2, "en", L"en"}};

}  // namespace

bool isAppRunning(const std::wstring& program) {
  if (program.empty()) return false;
  const std::string name = platform::toUtf8(program);
  std::error_code error;
  for (std::filesystem::directory_iterator i("/proc", error), end; !error && i != end; i.increment(error)) {
    const std::string entry = i->path().filename().string();
    const bool isProcess = entry.find_first_not_of("0123456789") == std::string::npos;
    if (isProcess && isProcessNamed(i->path(), name)) return true;
  }
  return false;
}

int ll_get_language() {
  const std::string current = workstation::language();
  for (const Language& language : kLanguages) {
    if (current == language.code) return language.number;
  }
  return 0;
}

const wchar_t* ll_get_lng_shortness_original(int number) {
  for (const Language& language : kLanguages) {
    if (language.number == number) return language.shortness;
  }
  return nullptr;
}
