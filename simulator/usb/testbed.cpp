#include "usb/testbed.h"

#include <umockdev.h>

Testbed::Testbed() : m_testbed(umockdev_testbed_new())
{
    const std::unique_ptr<gchar, decltype(&g_free)> dir(
        umockdev_testbed_get_root_dir(m_testbed.get()), g_free);
    m_dir = QString::fromUtf8(dir.get());
}

Testbed::~Testbed() = default;

void Testbed::attach(const QString& device_node, UMockdevIoctlBase* handler)
{
    const bool attached = umockdev_testbed_attach_ioctl(
        m_testbed.get(), device_node.toUtf8().constData(), handler, nullptr);
    Q_ASSERT(attached);
    Q_UNUSED(attached)
}
