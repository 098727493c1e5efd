// Whether the project's list of users, which the library keeps, is still what the store's members make it.
#pragma once

namespace workstation::program {

class Context;

/// True when members, roles or e-mails, or the store's list, are not those of the last refresh that was noted, or when
/// there is no list here. Never before the cache once had everything: a refresh is a full load then, which replaces
/// what was not sent. Reads one row of the store for each member, and no listing. Throws CommandFailure when the store
/// can't be asked.
bool isUserListDue(Context& context);

/// Notes that a refresh after isUserListDue went well. What changed in the store meanwhile stays due.
void noteUserList(Context& context);

}  // namespace workstation::program
