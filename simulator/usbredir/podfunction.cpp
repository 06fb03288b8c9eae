#include "usbredir/podfunction.h"

#include "bus/controlrequest.h"

PodFunction::PodFunction(std::shared_ptr<PodModel> pod)
    : m_pod(std::move(pod))
    , m_description(UsbDescription::pod(m_pod->mode(), m_pod->settings()))
{
}

std::optional<QByteArray> PodFunction::control(const QByteArray& setup, const QByteArray& data)
{
    noteSerialLine(*m_pod, setup, data);
    return answerControlRequest(m_description, setup);
}
