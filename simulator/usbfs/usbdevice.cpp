#include "usbfs/usbdevice.h"

#include "bus/controlrequest.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr unsigned char kEndpointOut = 0x01;
constexpr unsigned char kEndpointIn = 0x81;
constexpr int kSetupBytes = 8;
constexpr quint32 kDataInterface = 1; ///< has both endpoints
constexpr int kClassToInterface = 0x21;

constexpr quint32 kBulkCapabilities =
    USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_BULK_CONTINUATION | USBDEVFS_CAP_NO_PACKET_SIZE_LIM |
    USBDEVFS_CAP_BULK_SCATTER_GATHER | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;

} // namespace

UsbDevice::UsbDevice(UsbDescription description, const QString& node_path,
                     std::shared_ptr<PodModel> pod)
    : m_description(std::move(description))
    , m_node(node_path)
    , m_pod(std::move(pod))
    , m_pacer(m_pod ? m_pod->settings().bytes_per_second : 0)
{
}

void UsbDevice::handle(NodeClient& host, const NodeCall& call)
{
    Reply reply = failed(EINVAL); // to read and write, which usbfs does not need
    if (call.kind == NodeCall::Kind::Ioctl)
        reply = answer(host, call.request_or_address, call.argument_or_length);
    host.complete(reply.value, reply.error);
    advance(std::chrono::steady_clock::now());
}

UsbDevice::Reply UsbDevice::answer(NodeClient& host, unsigned long request, unsigned long argument)
{
    if (request == USBDEVFS_REAPURBNDELAY)
        return reap(host, argument);
    if (!m_connected)
        return failed(ENODEV);
    switch (request) {
    case USBDEVFS_SUBMITURB:
        return submit(host, argument);
    case USBDEVFS_DISCARDURB:
        return discard(host, argument);
    case USBDEVFS_GET_CAPABILITIES:
        host.writeMemory(argument, &kBulkCapabilities, sizeof(kBulkCapabilities));
        return {};
    case USBDEVFS_CLAIMINTERFACE:
        return claim(host, argument);
    case USBDEVFS_RELEASEINTERFACE:
        return release(host, argument);
    case USBDEVFS_GETDRIVER:
        return driverName(host, argument);
    case USBDEVFS_IOCTL:
        return driverRequest(host, argument);
    case USBDEVFS_CLEAR_HALT:
    case USBDEVFS_RESET:
    case USBDEVFS_RESETEP:
        return {};
    default:
        return failed(ENOTTY);
    }
}

UsbDevice::Interface* UsbDevice::interfaceAt(quint32 number)
{
    return int(number) < m_description.interfaces() ? &m_interfaces.at(number) : nullptr;
}

UsbDevice::Reply UsbDevice::claim(NodeClient& host, unsigned long argument)
{
    quint32 number = 0;
    host.readMemory(argument, &number, sizeof(number));
    Interface* interface = interfaceAt(number);
    if (interface == nullptr)
        return failed(EINVAL);
    const bool taken = interface->claimed_by != nullptr && interface->claimed_by != &host;
    if (taken || interface->has_driver || (m_pod && !m_pod->claim()))
        return failed(EBUSY);
    interface->claimed_by = &host;
    return {};
}

UsbDevice::Reply UsbDevice::release(NodeClient& host, unsigned long argument)
{
    quint32 number = 0;
    host.readMemory(argument, &number, sizeof(number));
    Interface* interface = interfaceAt(number);
    if (interface == nullptr || interface->claimed_by != &host)
        return failed(EINVAL);
    interface->claimed_by = nullptr;
    return {};
}

UsbDevice::Reply UsbDevice::driverName(NodeClient& host, unsigned long argument)
{
    usbdevfs_getdriver query{};
    host.readMemory(argument, &query, sizeof(query));
    const Interface* interface = interfaceAt(query.interface);
    if (interface == nullptr)
        return failed(EINVAL);
    if (!interface->has_driver && interface->claimed_by == nullptr)
        return failed(ENODATA);
    const char* kernel_driver = m_description.isHub() ? "hub" : "cdc_acm";
    qstrncpy(query.driver, interface->has_driver ? kernel_driver : "usbfs", sizeof(query.driver));
    host.writeMemory(argument, &query, sizeof(query));
    return {};
}

UsbDevice::Reply UsbDevice::driverRequest(NodeClient& host, unsigned long argument)
{
    usbdevfs_ioctl query{};
    host.readMemory(argument, &query, sizeof(query));
    Interface* interface = interfaceAt(quint32(query.ifno));
    if (interface == nullptr)
        return failed(EINVAL);
    switch (unsigned(query.ioctl_code)) {
    case USBDEVFS_DISCONNECT:
        if (!interface->has_driver)
            return failed(ENODATA);
        if (m_pod && !m_pod->driverDetaches())
            return failed(EBUSY);
        for (Interface& of_driver : m_interfaces)
            of_driver.has_driver = false; // it holds both, and lets go of both
        return {};
    case USBDEVFS_CONNECT:
        if (interface->has_driver || interface->claimed_by != nullptr)
            return failed(EBUSY);
        interface->has_driver = true;
        return {1, 0};
    default:
        return failed(ENOTTY);
    }
}

UsbDevice::Reply UsbDevice::submit(NodeClient& host, unsigned long argument)
{
    Urb urb(host, argument);
    if (!urb.isValid())
        return failed(EINVAL);
    if (urb.type() == USBDEVFS_URB_TYPE_CONTROL)
        return control(host, std::move(urb));
    const bool known = urb.endpoint() == kEndpointOut || urb.endpoint() == kEndpointIn;
    if (urb.type() != USBDEVFS_URB_TYPE_BULK || !m_pod || !known)
        return failed(ENOENT);
    if (!use(host, kDataInterface))
        return failed(EBUSY);
    Urbs& queue = urb.endpoint() == kEndpointOut ? m_out : m_in;
    queue.push_back(std::move(urb));
    return {};
}

/// What nobody has is claimed by its use; what a driver has is not.
bool UsbDevice::use(NodeClient& host, quint32 number)
{
    Interface* interface = interfaceAt(number);
    if (interface == nullptr || interface->has_driver)
        return false;
    if (interface->claimed_by == nullptr)
        interface->claimed_by = &host;
    return interface->claimed_by == &host;
}

UsbDevice::Reply UsbDevice::control(NodeClient& host, Urb urb)
{
    if (urb.lengthBytes() < kSetupBytes)
        return failed(EINVAL);
    const QByteArray setup(urb.buffer(), kSetupBytes);
    if (setup.at(0) == kClassToInterface && !use(host, quint8(setup.at(4))))
        return failed(EBUSY);
    const auto answer = answerControlRequest(m_description, setup);
    const bool read = (quint8(setup.at(0)) & 0x80) != 0;
    int length_bytes = urb.lengthBytes() - kSetupBytes;
    if (answer && read) {
        length_bytes = std::min(length_bytes, answer->size());
        std::memcpy(urb.buffer() + kSetupBytes, answer->constData(), size_t(length_bytes));
    }
    if (answer && !read && m_pod)
        noteSerialLine(*m_pod, setup, {urb.buffer() + kSetupBytes, length_bytes});
    urb.finish(answer ? 0 : -EPIPE, answer ? length_bytes : 0);
    m_finished.push_back(std::move(urb));
    return {};
}

UsbDevice::Reply UsbDevice::discard(const NodeClient& host, unsigned long address)
{
    for (Urbs* queue : {&m_out, &m_in}) {
        const auto found = std::find_if(queue->begin(), queue->end(), [&](const Urb& urb) {
            return urb.host() == &host && urb.address() == address;
        });
        if (found == queue->end())
            continue;
        found->finish(-ENOENT, 0);
        m_finished.splice(m_finished.end(), *queue, found);
        return {};
    }
    return failed(EINVAL);
}

UsbDevice::Reply UsbDevice::reap(const NodeClient& host, unsigned long argument)
{
    const auto found = std::find_if(m_finished.begin(), m_finished.end(),
                                    [&](const Urb& urb) { return urb.host() == &host; });
    if (found == m_finished.end()) {
        ++m_empty_reaps;
        return failed(m_connected ? EAGAIN : ENODEV);
    }
    found->handOver(argument);
    m_finished.erase(found);
    return {};
}

void UsbDevice::clientGone(const NodeClient& host)
{
    for (Urbs* queue : {&m_out, &m_in, &m_finished})
        queue->remove_if([&](const Urb& urb) { return urb.host() == &host; });
    for (Interface& interface : m_interfaces) {
        if (interface.claimed_by == &host)
            interface.claimed_by = nullptr;
    }
    advance(std::chrono::steady_clock::now());
}

void UsbDevice::advance(Pacer::TimePoint now)
{
    if (m_pod) {
        advanceOut(now);
        advanceIn(now);
        if (!m_pod->onBus())
            disconnect();
    }
    m_node.setReady(!m_finished.empty());
}

void UsbDevice::advanceOut(Pacer::TimePoint now)
{
    const auto passed = [&](Urb& urb) {
        return urb.lengthBytes() == 0 || m_pacer.passed(urb.passage, urb.lengthBytes(), now);
    };
    while (!m_out.empty() && passed(m_out.front())) {
        Urb& urb = m_out.front();
        m_pod->receive(QByteArray::fromRawData(urb.buffer(), urb.lengthBytes()));
        if (m_pod->nextTransferBytes(1) > 0)
            m_pacer.idleUntil(now); // an answer cannot have begun before its question
        finish(m_out, 0, urb.lengthBytes());
    }
}

void UsbDevice::advanceIn(Pacer::TimePoint now)
{
    const auto passed = [&](Urb& urb) {
        return m_pacer.passed(urb.passage, m_pod->nextTransferBytes(urb.lengthBytes()), now);
    };
    while (!m_in.empty() && passed(m_in.front())) {
        Urb& urb = m_in.front();
        const int length_bytes = m_pod->send(urb.buffer(), urb.lengthBytes());
        if (m_pod->leftInTransfer())
            return;
        finish(m_in, 0, length_bytes);
    }
}

void UsbDevice::finish(Urbs& from, int status, int actual_length_bytes)
{
    from.front().finish(status, actual_length_bytes);
    m_finished.splice(m_finished.end(), from, from.begin());
}

std::optional<Pacer::TimePoint> UsbDevice::nextDue() const
{
    std::optional<Pacer::TimePoint> next;
    for (const Urbs* queue : {&m_out, &m_in}) {
        if (!queue->empty() && queue->front().passage.due)
            next = std::min(*queue->front().passage.due, next.value_or(Pacer::TimePoint::max()));
    }
    return next;
}

void UsbDevice::disconnect()
{
    m_connected = false;
    m_pod.reset();
    m_node.remove();
    for (Urbs* queue : {&m_out, &m_in}) {
        while (!queue->empty())
            finish(*queue, -ESHUTDOWN, 0);
    }
    m_node.setReady(!m_finished.empty());
}
