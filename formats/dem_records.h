/// Digital elevation models by the columns of their records, of any size.
/// Layout: the United States Geological Survey's Standards for Digital Elevation Models, part 2.
#pragma once

namespace imx {

struct ImageRecord;
class FileReader;

/// The file from its start as grey levels between its lowest and highest elevation, north at the
/// top. Columns and places without an elevation stay black. Null, said through LibError, for
/// another file and when memory runs out; a stop gives the profiles read so far.
ImageRecord* LoadDemRecords(FileReader& in, const char* displayName);

}  // namespace imx
