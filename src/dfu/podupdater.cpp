#include "dfu/podupdater.h"

#include "dfu/dfu.h"
#include "dfu/dfuexception.h"
#include "downloader/podprotocol.h"
#include "main/pod.h"
#include "utils/libusbutils.h"

#include <QDebug>
#include <QScopeGuard>

namespace {

void openBootloader(Pod& pod)
{
    libusb_device_handle* handle = pod.getDevHandle();
    // Also when it throws: what is open by then is the pod's to close.
    const auto store = qScopeGuard([&] { pod.setDevHandle(handle); });
    LibUsbUtils().configACM(pod.getDev(), handle);
}

} // namespace

void PodUpdater::putInDfu(Pod& pod)
{
    // Before the command: the pod can be off the bus, and discovery be asking, before this thread
    // runs again.
    pod.setUpdating(true);
    uint8_t command = podprotocol::kRestartInBootloader;
    LibUsbUtils().writeData(pod.getDevHandle(), &command, 1, podprotocol::kTimeoutMs);
}

void PodUpdater::updatePod(Pod& pod)
{
    openBootloader(pod);
    try {
        Dfu(pod).dfu_send_image();
        pod.setUpdateDone(true);
    } catch (const DfuException& e) {
        qDebug() << e.what();
        qWarning() << "Not updated:" << e.what() << "on pod at index" << pod.getIdx();
    }
}
