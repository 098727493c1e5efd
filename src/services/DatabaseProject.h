// Which row sets an update may touch.
#pragma once

class ProjectRowSetBase;

namespace Quorvel::FileAccess {

/// True for sets that take changes from a server and belong to the open project, whose files they are held against.
bool isOfOpenProject(const ProjectRowSetBase& sets);

}  // namespace Quorvel::FileAccess
