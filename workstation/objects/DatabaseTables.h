// The tables of the project database: one per object kind, number to header.
#pragma once

#include <cstdint>

namespace workstation {

enum class RowTable : std::uint8_t { Teilbild, Plan, Zeichnung };

constexpr const char* tableName(RowTable table) {
  return table == RowTable::Teilbild ? "teilbild" : table == RowTable::Plan ? "plan" : "zeichnung";
}

}  // namespace workstation
