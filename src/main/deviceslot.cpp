#include "main/corvane.h"
#include "main/pod.h"

#include <QDebug>
#include <QThread>

void Corvane::device_slot_ts::start(int idx, const UsbDeviceRef& dev, Corvane& controller,
                                    UIBackEnd& backend, bool dfu)
{
    auto* const thread = new QThread;
    auto* const newcomer = new Pod(idx, dev, backend, dfu, controller.new_firmware);
    workThread = thread;
    pod = newcomer;
    serveAs(dev);
    newcomer->moveToThread(thread);

    connect(thread, &QThread::started, newcomer, &Pod::tasks, Qt::QueuedConnection);
    // Its own thread, never the slot's: the slot may hold the next pod's by then.
    connect(
        newcomer, &QObject::destroyed, newcomer,
        [thread] {
            qDebug() << "Pod destroyed";
            thread->quit();
        },
        Qt::DirectConnection);
    // First the pod, whose end quits the thread: a thread object deleted while its pod still closes
    // the device would hold up discovery.
    connect(newcomer, &Pod::finished, newcomer, &QObject::deleteLater);
    connect(thread, &QThread::finished, newcomer, &QObject::deleteLater, Qt::DirectConnection);
    // Only now: deleting a thread that still runs, in a transfer say, would abort the program.
    connect(thread, SIGNAL(finished()), thread, SLOT(deleteLater()));
    connect(
        thread, &QThread::finished, thread, [] { qDebug() << "Thread finished"; },
        Qt::DirectConnection);
    connect(
        thread, &QObject::destroyed, thread, [] { qDebug() << "QThread destroyed"; },
        Qt::DirectConnection);
    // The ticket travels with the queued call, so that it outlives the pod. After the answer nobody
    // needs the file: freed here, its room is there for the very next addition.
    connect(
        newcomer, &Pod::dataReady, &controller,
        [&controller, ticket = newcomer->ticket()](const QString& path, int index) {
            controller.zipFile(path, index, ticket);
            ticket->file.release();
        },
        Qt::QueuedConnection);
    connect(&controller, &Corvane::fileZipped, newcomer, &Pod::erasePod, Qt::QueuedConnection);
    connect(newcomer, &Pod::podEmpty, &controller, &Corvane::podIsEmpty, Qt::QueuedConnection);
    connect(newcomer, &Pod::syncInProgress, &controller, &Corvane::nbPodsInSync);

    thread->start();
}

void Corvane::device_slot_ts::serveAs(const UsbDeviceRef& dev)
{
    device = dev;
    left = false;
    return_limit = QDeadlineTimer(QDeadlineTimer::Forever);
}

void Corvane::device_slot_ts::clean()
{
    pod.clear();
    workThread.clear();
    serveAs(UsbDeviceRef());
}
