// Tables of the store's database and their versions.
#pragma once

#include <string>

namespace workstation {

class Connection;

constexpr int kSchemaVersion = 2;
/// Marks a database as one of this store ("ZEPS").
constexpr int kApplicationId = 0x5A455053;

/// Makes the tables in an empty database. Its journal is set before: that can't be done inside a transaction. @return
/// false when the database is a store already
bool createSchema(Connection& connection);

/// Refuses what is no store of this or an older version, unchanged, and brings an older one up to date. Throws
/// StoreError.
/// @param directory  for the texts
void checkSchema(Connection& connection, const std::string& directory);

}  // namespace workstation
