#include "cloud/PortalLinks.h"

#include <algorithm>
#include <iterator>

namespace Quorvel::FileAccess {
namespace {

struct ShellError {
  std::intptr_t code;
  const wchar_t* text;
};

/// The last one counts as no error to the callers of today; it stands here with its kind.
constexpr ShellError kShellErrors[] = {
    {2, L"The specified file was not found."},
    {3, L"The specified path was not found."},
    {5, L"The operating system denied access to the specified file."},
    {8, L"There was not enough memory to complete the operation."},
    {26, L"A sharing violation occurred."},
    {27, L"The file name association is incomplete or invalid."},
    {28, L"The DDE transaction could not be completed because the request timed out."},
    {29, L"The DDE transaction failed."},
    {30, L"The DDE transaction could not be completed because other DDE transactions were being processed."},
    {31, L"There is no application associated with the given file name extension."},
    {32, L"The specified DLL was not found."},
};

constexpr std::intptr_t kFirstNoError = 32;

}  // namespace

std::wstring portalLink(const std::wstring& portal, const std::wstring& token) {
  return portal + L"/?token=" + token;
}

std::wstring dashboardLink(const std::wstring& portal, const std::wstring& token, const std::wstring& team,
                           const std::wstring& project) {
  return portalLink(portal, token) + L"/#/dashboard?team_id=" + team + L"&project_id=" + project;
}

std::wstring viewerLink(const std::wstring& portal, const std::wstring& team, const std::wstring& project) {
  return portal + L"/viewer/#/viewer?project_id=" + project + L"&team_id=" + team;
}

bool getShellExecuteErrorText(std::intptr_t code, std::wstring& out) {
  if (code >= kFirstNoError) return false;
  const auto* const found = std::find_if(std::begin(kShellErrors), std::end(kShellErrors),
                                         [code](const ShellError& error) { return error.code == code; });
  out = found != std::end(kShellErrors) ? found->text : L"";
  return true;
}

}  // namespace Quorvel::FileAccess
