// The host's messages to its user that carry a check box, made by interface.
#pragma once

#include <memory>

#include "host/Export.h"
#include "platform/WindowsTypes.h"

/// Shows numbered messages. From any thread.
class HOST_API IZepMessageService {
 public:
  virtual ~IZepMessageService() = default;
  /// False where nobody can be shown a message, as in a batch run.
  virtual bool IsValid() const = 0;
  /// Shows language text `id` and waits for the answer.
  ///
  /// @param flags    MB_ values; bit 24 puts a check box below the text
  /// @param context  language text of the check box
  /// @return the IDxxx value of the button; bit 24 tells that the box was ticked
  virtual int ShowMessage(int id, UINT flags, int context) = 0;
};

constexpr GUID kMessageServiceInterface = {
    0x291A0414, 0x30E1, 0x4A3A, {0x86, 0x50, 0x16, 0x64, 0xE0, 0x06, 0x2F, 0xDD}};

class HOST_API ZP_InterfaceManager {
 public:
  /// Makes an instance, which its owner releases. @return null for an interface that the host does not have
  static std::unique_ptr<IZepMessageService> CreateInstance(const GUID& interfaceId);
};
