/// The order in which the pictures of a folder follow each other.
#pragma once

#include <string>
#include <vector>

namespace imx {

/// As people sort names: without regard to the case of ASCII letters, and by numbers where there
/// are digits ("2.png" before "10.png"). Names that differ only so are ordered by their bytes.
bool ComesBefore(const std::string& a, const std::string& b);

enum class FolderStep { first, previous, next, last };

/// The files that a step may lead to, the nearest one first: the first of them that is a picture is
/// the answer. None at the ends, where `current`, which need not be among the names any more,
/// stays.
std::vector<std::string> StepCandidates(std::vector<std::string> names, const std::string& current,
                                        FolderStep step);

}  // namespace imx
