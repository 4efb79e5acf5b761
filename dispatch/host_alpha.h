/// What hosts do about alpha around a load and a save. The loaders and savers themselves are exact:
/// they leave the alpha flag as the format says and write the bytes that they are given.
#pragma once

#include "dispatch/load.h"
#include "imagelib/guards.h"

namespace imx {

/// Sets the alpha flag of an image that a plug-in loaded when its alpha bytes differ: plug-ins have
/// no way to say that there is alpha.
void NotePluginAlpha(const LoadResult& loaded);

/// While one is alive, the image's alpha is what its save choices mean: opaque when it never had
/// any, gone when 24 bits were chosen where 32 could have been. Afterwards it is as it was.
class AlphaAsChosen {
 public:
  explicit AlphaAsChosen(ImageRecord& image);
  ~AlphaAsChosen();
  AlphaAsChosen(const AlphaAsChosen&) = delete;
  AlphaAsChosen& operator=(const AlphaAsChosen&) = delete;

  /// False when there was no memory to keep the alpha in; nothing has been changed then.
  bool ok() const { return ok_; }

 private:
  enum class Change { none, madeOpaque, dropped };

  ImageRecord& image_;
  Change change_ = Change::none;
  TrackedBytes dropped_;  ///< the alpha bytes of the pixels in their order
  bool ok_ = true;
};

}  // namespace imx
