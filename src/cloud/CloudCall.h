// The one shape of every function of the cloud backend: project test, controller fetched anew, one call, one check.
#pragma once

#include <string>
#include <utility>

#include "host/Cloud.h"
#include "host/Project.h"
#include "host/Trace.h"

namespace Quorvel::FileAccess {

/// Status of a call that the service left by an exception. Negative, so that every way of testing a status sees a
/// failure.
constexpr CloudStatus kServiceThrew = static_cast<CloudStatus>(0x8000FFFF);

/// The unsigned form in which a status is printed and handed to callers of the exported services.
constexpr std::uint32_t statusCode(CloudStatus status) {
  return static_cast<std::uint32_t>(status);
}

/// Tells the log what a service threw. Called while the exception is being handled. @return kServiceThrew
CloudStatus refusedByException(const wchar_t* function);

/// Runs what calls the controller and answers its status; an exception of the service becomes a failure.
template <typename Operation>
CloudStatus guardedCall(const wchar_t* function, Operation&& operation) {
  try {
    return std::forward<Operation>(operation)();
  } catch (...) {
    return refusedByException(function);
  }
}

/// A function of the cloud backend at work on one project. Holds nothing of the controller between its calls.
class CloudCall {
 public:
  /// @param function  the function's full name, as log lines carry it; a literal
  CloudCall(const wchar_t* function, const PRJ& prj);

  const wchar_t* function() const { return function_; }
  const std::wstring& project() const { return project_; }

  /// The project test; a project that is not in the cloud is told to the log.
  bool requireCloudProject() const;

  /// How a bulk transfer of this function shows itself.
  CloudTransferOptions options(std::wstring text, std::uint32_t count = 0) const;

  /// Calls `operation(service, project)` and answers its status.
  template <typename Operation>
  CloudStatus run(Operation&& operation) const {
    return guardedCall(function_, [&] { return operation(*QuorvelCloudController()->GetProjectService(), project_); });
  }

  /// As above; a status other than 0 is told to the log.
  /// @param failureLine  takes the function, the subject and the status
  template <typename Operation>
  CloudStatus run(const wchar_t* failureLine, const std::wstring& subject, Operation&& operation) const {
    const CloudStatus status = run(std::forward<Operation>(operation));
    if (status != 0) lfperrC(failureLine, function_, subject, statusCode(status));
    return status;
  }

 private:
  const wchar_t* function_;
  bool inCloud_;
  std::wstring project_;
};

/// Options of a bulk transfer of `function`: its name is shown in developer builds only.
CloudTransferOptions transferOptions(const wchar_t* function, std::wstring text, std::uint32_t count);

}  // namespace Quorvel::FileAccess
