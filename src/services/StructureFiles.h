// The files in "BIM" that say which objects the building model uses.
#pragma once

namespace Quorvel::FileAccess {

constexpr const wchar_t* kBuildingStructure = L"Quorvel_BIM_BuildingStructure.xml";
constexpr const wchar_t* kBuildingViews = L"Quorvel_BIM_Views.xml";
constexpr const wchar_t* kLayoutStructure = L"Quorvel_BIM_LayoutStructure.xml";

}  // namespace Quorvel::FileAccess
