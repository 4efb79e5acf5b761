/// USGS digital elevation models: 1201 x 1201 grids in ASCII, as grey levels.
/// Layout: the USGS DEM standard's type A and type B records.
#pragma once

namespace imx {

struct ImageRecord;

/// The record, named `displayName`, or null; each failure is named by a message. A damaged profile,
/// the file's early end or a stop gives the profiles read so far. The last column stays black.
ImageRecord* LoadDem(const char* path, const char* displayName);

}  // namespace imx
