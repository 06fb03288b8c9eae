#pragma once

#include "pod/podmodel.h"
#include "usbredir/usbfunction.h"

#include <memory>

/// A pod as a redirected device. Lives on the port's thread; shares the pod, which is kept for its
/// report when it has left the bus.
class PodFunction : public UsbFunction
{
public:
    explicit PodFunction(std::shared_ptr<PodModel> pod);

    const UsbDescription& description() const override { return m_description; }
    quint32 bytesPerSecond() const override { return m_pod->settings().bytes_per_second; }
    std::optional<QByteArray> control(const QByteArray& setup, const QByteArray& data) override;
    void receive(const QByteArray& from_host) override { m_pod->receive(from_host); }
    int nextTransferBytes(int at_most_bytes) const override
    {
        return m_pod->nextTransferBytes(at_most_bytes);
    }
    int send(char* out, int at_most_bytes) override { return m_pod->send(out, at_most_bytes); }
    bool leftInTransfer() const override { return m_pod->leftInTransfer(); }

private:
    std::shared_ptr<PodModel> m_pod;
    UsbDescription m_description;
};
