#include "usbfs/devicenode.h"

#include "usbfs/require.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>

namespace {
// The smallest pipe has one slot, which a single byte fills.
constexpr int kSmallestPipeBytes = 4096;
} // namespace

DeviceNode::DeviceNode(const QString& path)
    : m_path(QFile::encodeName(path))
{
    require(QDir().mkpath(QFileInfo(path).path()), path);
    require(::mkfifo(m_path.constData(), 0666) == 0, path);
    m_fifo = UniqueFd(::open(m_path.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    require(bool(m_fifo) && ::fcntl(m_fifo.get(), F_SETPIPE_SZ, kSmallestPipeBytes) > 0, path);
    setReady(false);
}

DeviceNode::~DeviceNode()
{
    remove();
}

void DeviceNode::setReady(bool ready)
{
    if (ready == m_ready)
        return;
    m_ready = ready;
    char filler = 0;
    const ssize_t moved =
        ready ? ::read(m_fifo.get(), &filler, 1) : ::write(m_fifo.get(), &filler, 1);
    Q_ASSERT(moved == 1);
    Q_UNUSED(moved)
}

void DeviceNode::remove()
{
    if (!m_path.isEmpty())
        ::unlink(m_path.constData());
    m_path.clear();
}
