#pragma once

#include "usb/gobjectref.h"

#include <QString>

// umockdev's own header cannot be included where Qt's keywords are in use.
using UMockdevTestbed = struct _UMockdevTestbed;
using UMockdevIoctlBase = struct _UMockdevIoctlBase;

/// The private "/dev" and "/sys" that the station sees instead of the machine's own: a temporary
/// directory, and umockdev's worker thread, which serves the sockets behind the device nodes.
/// Used on the thread that made it; asserts when the directory cannot be made.
class Testbed
{
public:
    Testbed();
    Testbed(const Testbed&) = delete;
    Testbed& operator=(const Testbed&) = delete;
    Testbed(Testbed&&) = delete;
    Testbed& operator=(Testbed&&) = delete;
    ~Testbed();

    /// The station finds it through the environment variable UMOCKDEV_DIR.
    QString dir() const { return m_dir; }
    /// Every use of this node goes to the handler until the testbed ends.
    void attach(const QString& device_node, UMockdevIoctlBase* handler);

private:
    GObjectRef<UMockdevTestbed> m_testbed;
    QString m_dir;
};
