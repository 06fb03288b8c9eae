#include "main/deviceslot.h"

#include "main/corvane.h"
#include "main/pod.h"

#include <QDebug>
#include <QThread>

namespace {

/// From the start of the thread to the end of both.
void wireLifetime(QThread* thread, Pod* pod)
{
    QObject::connect(thread, &QThread::started, pod, &Pod::tasks, Qt::QueuedConnection);
    // Its own thread, never the slot's: the slot may hold the next pod's by then.
    QObject::connect(
        pod, &QObject::destroyed, pod,
        [thread] {
            qDebug() << "Pod destroyed";
            thread->quit();
        },
        Qt::DirectConnection);
    // First the pod, whose end quits the thread: a thread object deleted while its pod still closes
    // the device would hold up discovery.
    QObject::connect(pod, &Pod::finished, pod, &QObject::deleteLater);
    QObject::connect(thread, &QThread::finished, pod, &QObject::deleteLater, Qt::DirectConnection);
    // Only now: deleting a thread that still runs, in a transfer say, would abort the program.
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    QObject::connect(
        thread, &QThread::finished, thread, [] { qDebug() << "Thread finished"; },
        Qt::DirectConnection);
    QObject::connect(
        thread, &QObject::destroyed, thread, [] { qDebug() << "QThread destroyed"; },
        Qt::DirectConnection);
}

void wireController(Pod* pod, Corvane* controller)
{
    // The ticket travels with the queued call, so that it outlives the pod. After the answer nobody
    // needs the file: freed here, its room is there for the very next addition.
    QObject::connect(
        pod, &Pod::dataReady, controller,
        [controller, ticket = pod->ticket()](const QString& path, int index) {
            controller->zipFile(path, index, ticket);
            ticket->file.release();
        },
        Qt::QueuedConnection);
    QObject::connect(controller, &Corvane::fileZipped, pod, &Pod::erasePod, Qt::QueuedConnection);
    QObject::connect(pod, &Pod::podEmpty, controller, &Corvane::podIsEmpty, Qt::QueuedConnection);
    QObject::connect(&pod->ticket()->sync, &CountedSync::counted, controller,
                     &Corvane::nbPodsInSync);
}

} // namespace

void device_slot_ts::start(int idx, const UsbDeviceRef& dev, Corvane& controller,
                           UIBackEnd& backend, bool dfu, const std::function<void(Pod*)>& wire)
{
    workThread = new QThread;
    pod = new Pod(idx, dev, backend, dfu, controller.new_firmware);
    device = dev;
    pod->moveToThread(workThread);
    wireLifetime(workThread, pod);
    wireController(pod, &controller);
    wire(pod);

    workThread->start();
    if (workThread->isRunning())
        return;
    qCritical() << "No thread for the pod, index:" << idx;
    delete pod;
    delete workThread;
    clean();
}

void device_slot_ts::clean()
{
    pod.clear();
    workThread.clear();
    device = UsbDeviceRef();
}
