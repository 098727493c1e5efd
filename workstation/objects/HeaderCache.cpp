// The header cache of the cloud: asks for the one header that is wanted.
#include <cstdint>
#include <vector>

#include "host/Cloud.h"
#include "host/Headers.h"
#include "host/Project.h"
#include "workstation/objects/ObjectNames.h"

namespace {

/// Bit 0 of a byte comes first.
std::vector<std::uint8_t> bytesOf(const HeaderBits& bits) {
  std::vector<std::uint8_t> bytes(bits.size() / 8);
  for (std::size_t i = 0; i < bytes.size() * 8; ++i) {
    if (bits[i]) bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | (1U << (i % 8)));
  }
  return bytes;
}

class CloudHeaderCache final : public ITeilbildHeaderCache {
 public:
  bool getHeader(unsigned number, TeilbildHeader& out, int& rows) override {
    rows = 0;
    const PRJ project = get_ActivePrj();
    const std::wstring name = workstation::objectFileName(eFileType_Teilbild, static_cast<int>(number));
    if (name.empty() || !project.IsOndrathProject()) return false;
    HeaderMap headers{{name, {}}};
    ICloudProjectService* service = QuorvelCloudController()->GetProjectService();
    if (service->GetFileHeaders(project.GetOndrathProjectUuid(), headers, kStoredHeaderSize * 8) < 0) return false;
    const std::vector<std::uint8_t> image = bytesOf(headers[name]);
    if (image.empty()) return true;
    const auto size = static_cast<std::uint32_t>(image.size());
    if (!datwaTBHeaderToLatest(image.data(), kStoredHeaderSize, size, out)) return false;
    rows = 1;
    return true;
  }
};

}  // namespace

ITeilbildHeaderCache& getTBHeaderCache() {
  static CloudHeaderCache cache;
  return cache;
}
