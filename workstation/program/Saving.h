// Saving one item, as `save` and `not-uploaded retry` do it, and the line that tells how an item of a command ended.
#pragma once

#include <cstdint>
#include <string>

#include "workstation/program/ExitCode.h"
#include "workstation/program/Objects.h"

namespace workstation::program {

class SyncBase;

/// One result: "tb12: saved (version 3)".
void report(const Context& context, const std::wstring& item, const std::wstring& outcome, const std::wstring& detail,
            const ItemView* view = nullptr);
/// "refused" or "code 0x...": what a service's result tells a person.
std::wstring failureText(unsigned long code);

/// Copies the store's version to the project's backup directory, before something replaces it there.
bool backUpStored(const std::wstring& fileName);
/// The same with what is here, where there is anything.
bool backUpHere(const ItemView& view);

/// Sends an item to the store. Refused, with the reason as its result: an item that is not here or damaged, one that
/// somebody else holds, and (without `force`) one that would go over a version that was never fetched. With `force` the
/// store's version is copied to the project's backup directory first. In a compressed project a Teilbild is compressed
/// on the way.
void saveItem(Context& context, const ItemView& view, bool force, SyncBase& bases, Tally& tally);

}  // namespace workstation::program
