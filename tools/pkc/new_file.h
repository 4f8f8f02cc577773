// Writes a file whole or not at all.
#ifndef CORVID_TOOLS_PKC_NEW_FILE_H_
#define CORVID_TOOLS_PKC_NEW_FILE_H_

#include <string>
#include <string_view>

namespace corvid::tool {

enum class Existing { kRefuse, kReplace };

// Writes to a file of another name in the same folder, and names it `path` once it is on the disk;
// mode 0644 less the umask. Only a regular file is replaced. The errno of a failure (EEXIST when
// there is something already), which leaves everything as it was, else 0.
int WriteNewFile(const std::string& path, std::string_view content, Existing existing);

// What would be in the way: 0, EEXIST, or another errno of looking.
int FindObstacle(const std::string& path, Existing existing);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_NEW_FILE_H_
