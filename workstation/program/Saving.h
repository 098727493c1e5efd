// Saving one object, as `save` and `not-uploaded retry` do it, and the line that tells how an item of a command ended.
#pragma once

#include <string>

#include "workstation/program/ExitCode.h"
#include "workstation/program/Objects.h"

namespace workstation::program {

class SyncBase;

/// One result: "tb12: saved (version 3)".
void report(const Context& context, const std::wstring& item, const std::wstring& outcome, const std::wstring& detail);

/// Sends an object to the store. Refused, with the reason as its result: an object that is not here or damaged, one
/// that somebody else holds, and (without `force`) one that would go over a version that was never fetched.
void saveObject(Context& context, const ObjectView& view, bool force, SyncBase& bases, Tally& tally);

}  // namespace workstation::program
