#include "dfu/podupdater.h"

#include "dfu/dfu.h"
#include "dfu/dfuexception.h"
#include "downloader/podprotocol.h"
#include "main/pod.h"
#include "utils/libusbutils.h"

#include <QDebug>

#include <utility>

namespace {

void openBootloader(Pod& pod)
{
    UsbHandle handle;
    LibUsbUtils().configACM(pod.getDev(), handle.receive());
    pod.setDevHandle(std::move(handle));
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
