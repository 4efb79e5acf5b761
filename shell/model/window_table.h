/// The open image windows: who stands where, how they are numbered, which image is current.
#pragma once

#include <array>
#include <cstdint>

#include "imagelib/image.h"

namespace imx {

inline constexpr std::size_t kMaxImageWindows = 100;

/// What the shell keeps for one image window. The field order is part of the contract with its
/// callers.
struct DisplayRecord {
  void* window;                  ///< the system's window handle
  std::uint32_t magic;           ///< kImageMagic
  std::int32_t number;           ///< in the title
  std::int32_t selectionActive;  ///< 1 while the window shows a rubber band
  ImageRecord* image;            ///< owned
  void* bitmap;                  ///< the system's handle of the display bitmap; owned
  std::int32_t edited;           ///< 1 when an operation changed the pixels, or a save failed
};

/// The table points at the records; it does not own them.
struct WindowTable {
  std::array<DisplayRecord*, kMaxImageWindows> slots = {};  ///< null = free
  std::int32_t count = 0;                                   ///< windows open
  std::int32_t nextNumber = 1;                              ///< never used twice
  ImageRecord* current = nullptr;                           ///< what tools refer to; null = none
};

bool WindowTableFull(const WindowTable& table);

/// Puts the record into the first free slot, which there must be; its image becomes current when
/// none is. Counting and numbering are the caller's.
void PlaceRecord(WindowTable& table, DisplayRecord* record);

/// The record of a window, its magic set anew, or null. `detach` frees its slot.
DisplayRecord* FindRecord(WindowTable& table, const void* window, bool detach);

/// The image at the first slot in use; null when no window is open.
ImageRecord* FirstImage(const WindowTable& table);

/// Whether the image changed since it was loaded or saved, or never had a name of its own.
bool IsUnsaved(const ImageRecord& image);

/// Whether closing the window would lose something: the image is unsaved, or was changed by an
/// operation that does not say so in the image's flags, or by one whose save then failed.
bool WouldLoseChanges(const DisplayRecord& record);

}  // namespace imx
