// The manifest of an update package: whatever it says, no name leads out of the package.
#include "dfu/dfuinvalidupdatefile.h"
#include "dfu/dfumanifest.h"
#include "fuzz/fuzzing.h"

#include <QFile>

namespace {

void requireInside(const QString& name)
{
    const QByteArray encoded = QFile::encodeName(name);
    fuzzing::require(encoded.size() <= 255 && encoded != "." && encoded != "..");
    for (const char separator : {'/', '\\', '\0'})
        fuzzing::require(!encoded.contains(separator));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    try {
        const DfuManifest manifest = DfuManifest::parse(fuzzing::bytesOf(data, size_bytes));
        requireInside(manifest.bin_file);
        requireInside(manifest.dat_file);
    } catch (const DfuInvalidUpdateFile&) {
        return 0; // refused
    }
    return 0;
}
