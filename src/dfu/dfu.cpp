#include "dfu/dfu.h"

#include "dfu/dfumanifest.h"
#include "dfu/dfutransportserial.h"
#include "dfu/updatepackage.h"

#include <QFile>

namespace {

/// Thirty pods read it at once: a stranger's "manifest" of many megabytes is not worth the memory.
constexpr qint64 kMaxManifestBytes = qint64(64) * 1024;

/// Empty when there is none.
QByteArray readManifest()
{
    QFile file(UpdatePackage::manifestPath());
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? file.read(kMaxManifestBytes)
                                                            : QByteArray();
}

} // namespace

Dfu::Dfu(Pod& pod)
    : m_pod(pod)
{
    const DfuManifest manifest = DfuManifest::parse(readManifest());
    m_bin_file = UpdatePackage::pathOf(manifest.bin_file);
    m_dat_file = UpdatePackage::pathOf(manifest.dat_file);
}

void Dfu::dfu_send_image()
{
    DfuTransportSerial transport(m_pod);
    transport.open();
    transport.send_init_packet(m_dat_file.toStdString());
    transport.send_firmware(m_bin_file.toStdString());
}
