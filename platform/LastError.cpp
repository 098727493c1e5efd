#include <cerrno>

#include "platform/Errors.h"

namespace {
thread_local DWORD lastError = ERROR_SUCCESS;
}  // namespace

DWORD GetLastError() {
  return lastError;
}

void SetLastError(DWORD code) {
  lastError = code;
}

namespace platform {

DWORD fromErrno(int error) {
  switch (error) {
    case 0:
      return ERROR_SUCCESS;
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EISDIR:
      return ERROR_ACCESS_DENIED;
    case EROFS:
      return ERROR_WRITE_PROTECT;
    case EBADF:
      return ERROR_INVALID_HANDLE;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EXDEV:
      return ERROR_NOT_SAME_DEVICE;
    case EIO:
      return ERROR_GEN_FAILURE;
    case EBUSY:
    case ETXTBSY:
      return ERROR_SHARING_VIOLATION;
    case EAGAIN:
      return ERROR_LOCK_VIOLATION;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case EINVAL:
      return ERROR_INVALID_PARAMETER;
    case EPIPE:
      return ERROR_BROKEN_PIPE;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case ENOTEMPTY:
      return ERROR_DIR_NOT_EMPTY;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    case ELOOP:
      return ERROR_BAD_PATHNAME;
    case ENOTSUP:
      return ERROR_NOT_SUPPORTED;
    case ECANCELED:
      return ERROR_OPERATION_ABORTED;
    case ETIMEDOUT:
      return ERROR_TIMEOUT;
    case ENOTCONN:
      return ERROR_NOT_CONNECTED;
    case ECONNRESET:
      return ERROR_NETNAME_DELETED;
    case EILSEQ:
      return ERROR_NO_UNICODE_TRANSLATION;
    default:
      return ERROR_GEN_FAILURE;
  }
}

BOOL fail(DWORD code) {
  SetLastError(code);
  return FALSE;
}

BOOL failWithErrno() {
  return fail(fromErrno(errno));
}

}  // namespace platform
