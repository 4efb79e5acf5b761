/// Loads that end where the pixels begin: what a file tells of itself, at a cost that does not grow
/// with the pixels.
///
/// While one goes on, AllocImage gives records without pixels and row table, and a loader that has
/// filled in the rest gives its record back before it would touch them.
#pragma once

namespace imx {

/// Whether loads are such ones, while it lives. Scopes nest.
class HeaderOnlyScope {
 public:
  explicit HeaderOnlyScope(bool on);
  ~HeaderOnlyScope();
  HeaderOnlyScope(const HeaderOnlyScope&) = delete;
  HeaderOnlyScope& operator=(const HeaderOnlyScope&) = delete;

 private:
  const bool before_;
};

bool HeaderOnly();

/// Noted by loaders where only the pixels tell whether there is alpha.
void NoteAlphaUntold();

/// Whether that was noted since the outermost scope that is on began.
bool AlphaIsUntold();

}  // namespace imx
