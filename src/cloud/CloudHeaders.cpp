#include <memory>

#include "cloud/CloudCall.h"
#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/Headers.h"
#include "platform/Text.h"
#include "zephor/HeaderServices.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::uint32_t kStoredHeaderBits = kStoredHeaderSize * 8;

/// Bytes of a stored header; bit 0 of a byte comes first.
std::vector<std::uint8_t> toBytes(const HeaderBits& bits) {
  std::vector<std::uint8_t> bytes(bits.size() >> 3U);
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    if (bits[bit]) bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] | (1U << (bit % 8)));
  }
  return bytes;
}

/// Brings a stored header up to the current record. Nothing is stored for a header of 0 bytes: `out` stays as it is.
bool convert(const HeaderBits& bits, TeilbildHeader& out) {
  const std::vector<std::uint8_t> image = toBytes(bits);
  return image.empty() ||
         datwaTBHeaderToLatest(image.data(), kStoredHeaderSize, static_cast<std::uint32_t>(image.size()), out);
}

bool convert(const HeaderBits& bits, PlanHeader& out) {
  const std::vector<std::uint8_t> image = toBytes(bits);
  return image.empty() ||
         datwaPlHeaderToLatest(image.data(), kStoredHeaderSize, static_cast<std::uint32_t>(image.size()), false, out);
}

bool hasStoredHeader(int type) {
  return type == eFileType_Teilbild || type == eFileType_Plan;
}

std::wstring objectName(int number, int type) {
  std::wstring name;
  Ondrath_FileNameFromNumber(static_cast<std::uint32_t>(number), type, name);
  return name;
}

CloudStatus fetch(const CloudCall& call, HeaderMap& headers) {
  return call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.GetFileHeaders(project, headers, kStoredHeaderBits);
  });
}

/// Records on their way to a caller who will own them.
template <typename Header>
class HeaderList {
 public:
  bool add(const HeaderBits& bits) {
    records_.push_back(std::make_unique<Header>(clearedHeader<Header>()));
    return convert(bits, *records_.back());
  }
  void handOver(std::vector<void*>& out) {
    out.reserve(out.size() + records_.size());
    for (std::unique_ptr<Header>& record : records_) out.push_back(record.release());
  }

 private:
  std::vector<std::unique_ptr<Header>> records_;
};

template <typename Header>
bool listByNumber(const HeaderMap& headers, const std::set<int>& numbers, int type, std::vector<void*>& out) {
  HeaderList<Header> list;
  for (const int number : numbers) {
    const auto entry = headers.find(objectName(number, type));
    if (!list.add(entry != headers.end() ? entry->second : HeaderBits())) return false;
  }
  list.handOver(out);
  return true;
}

template <typename Header>
bool listAll(const HeaderMap& headers, std::vector<void*>& out) {
  HeaderList<Header> list;
  for (const auto& entry : headers) {
    if (!list.add(entry.second)) return false;
  }
  list.handOver(out);
  return true;
}

template <typename Header>
void freeRecords(const std::vector<void*>& headers) {
  for (void* record : headers) std::unique_ptr<Header>(static_cast<Header*>(record)).reset();
}

std::wstring timerText(const wchar_t* format, const CloudCall& call) {
  return platform::formatWide(format, call.function());
}

}  // namespace

bool Ondrath_downloadHeader(const PRJ& prj, int number, int type, void* out) {
  if (!prj.IsOndrathProject() || !hasStoredHeader(type) || number <= 0 || out == nullptr) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_downloadHeader", prj);
  HeaderMap headers{{objectName(number, type), {}}};
  if (fetch(call, headers) < 0) return false;
  const HeaderBits& bits = headers[objectName(number, type)];
  return type == eFileType_Teilbild ? convert(bits, *static_cast<TeilbildHeader*>(out))
                                    : convert(bits, *static_cast<PlanHeader*>(out));
}

bool Ondrath_downloadHeaders(const PRJ& prj, const std::set<int>& numbers, int type, std::vector<void*>& out) {
  if (!prj.IsOndrathProject() || !hasStoredHeader(type)) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_downloadHeaders", prj);
  HeaderMap headers;
  for (const int number : numbers) headers.try_emplace(objectName(number, type));
  if (fetch(call, headers) < 0) return false;
  return type == eFileType_Teilbild ? listByNumber<TeilbildHeader>(headers, numbers, type, out)
                                    : listByNumber<PlanHeader>(headers, numbers, type, out);
}

bool Ondrath_downloadAllHeaders(const PRJ& prj, int type, std::vector<void*>& out) {
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_downloadAllHeaders", prj);
  const CTimeTrace overall(WGO_GetTrace(), timerText(L"%s overall", call), 1, false, true);
  const int kind = type == eFileType_Teilbild ? kCloudKindTeilbild : kCloudKindPlan;
  HeaderMap headers;
  CTimeTrace download(WGO_GetTrace(), timerText(L"%s 1 download", call), 1, false, true);
  const CloudStatus status = call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.GetAllFileHeaders(project, headers, kStoredHeaderBits, kind);
  });
  download.stop();
  if (status < 0) return false;
  const CTimeTrace transfer(WGO_GetTrace(), timerText(L"%s 2 transfer data, maybe datwa", call), 1, false, true);
  return type == eFileType_Teilbild ? listAll<TeilbildHeader>(headers, out) : listAll<PlanHeader>(headers, out);
}

void WGO_freeHeaders(int type, std::vector<void*>& headers) {
  if (type == eFileType_Teilbild) {
    freeRecords<TeilbildHeader>(headers);
  } else {
    freeRecords<PlanHeader>(headers);
  }
  headers.clear();
}

}  // namespace Quorvel::FileAccess
