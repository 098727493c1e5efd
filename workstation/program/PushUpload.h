// Bringing the decisions of a push to the store, so that a failure or a crash at any point loses no file here.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace workstation::program {

struct ProjectLook;
struct PushItem;

/// Makes an item ready: a Teilbild is compressed on a copy that then takes its place, so that the upload finds nothing
/// to compress; the project database gets its header. @return what stands against sending it; empty when nothing does
std::wstring prepareToSend(PushItem& item);

/// Has to make an item one that neither goes nor is deleted.
using Refusal = std::function<void(PushItem& item, std::wstring reason)>;

/// Sends and deletes: other files, Teilbilder, Plans, deletions. A group of which not all has gone is the last; items
/// behind it stay untried. The library's answer does not decide that, but the store.
/// @param refuse  called for each item of which the store no longer has what was judged, before its group goes or when
///                the store has refused it
void uploadItems(const ProjectLook& look, std::vector<PushItem>& items, const Refusal& refuse);

/// Gives back this user's lock of an object that the store no longer has. @return what is to be told of it
std::wstring giveBackLock(const PushItem& item);

}  // namespace workstation::program
