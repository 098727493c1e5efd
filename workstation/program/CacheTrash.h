// Taking a project's directory on this workstation to the trash, and telling what goes with it.
#pragma once

#include <string>

namespace workstation::program {

class Context;
struct CacheContent;

/// The directory as a path of the system.
std::wstring shownDirectory(const CacheContent& content);
/// A line for each item that the store does not have.
void reportUnsent(const Context& context, const CacheContent& content);
/// Throws CommandFailure for a directory that is a link: it would go to the trash, and all that it leads to stay.
void refuseLink(const CacheContent& content);
/// Closes the project and takes its directory away. What is remembered goes first: what a broken run leaves of the
/// directory must not look as if the rest was deleted by the user. Throws CommandFailure, with what stays.
/// @return true when it is in the trash, false when it was deleted for good
bool takeAway(const std::wstring& projectUuid, const CacheContent& content, bool permanently);

}  // namespace workstation::program
