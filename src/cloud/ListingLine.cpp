// One file of the server as a line of a listing tells it.

#include <algorithm>
#include <array>

#include "cloud/CloudDates.h"
#include "cloud/Ondrath_Services.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

/// The number of an object file stands behind the two letters of its kind.
int numberInName(const std::wstring& name) {
  return name.size() > 2 ? _wtoi(name.c_str() + 2) : 0;
}

}  // namespace

CResourceInfo parseListingLine(const std::wstring& line) {
  CResourceInfo info;
  const std::array<std::wstring*, 6> fields{&info.name,  &info.text1, &info.text2,
                                            &info.text3, &info.text4, &info.text5};
  std::size_t begin = 0;
  for (std::wstring* field : fields) {
    begin = line.find_first_not_of(L'|', begin);
    if (begin == std::wstring::npos) break;
    const std::size_t end = std::min(line.find(L'|', begin), line.size());
    *field = line.substr(begin, end - begin);
    begin = end;
  }
  readListingDate(info.text2, info.createdCalendar, info.createdTime);
  readListingDate(info.text3, info.modifiedCalendar, info.modifiedTime);
  info.objectNumber = numberInName(info.name);
  return info;
}

}  // namespace Quorvel::FileAccess
