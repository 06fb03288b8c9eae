#pragma once

#include <QObject>

class QmpClient;

/// The machine's place for a stick. The machine takes its time to let go of one, and a command may
/// be refused: it is inserted or gone when the monitor has said so, and what was asked for
/// meanwhile is done then. Lives on one thread, owned by the machine.
class StickPort : public QObject
{
    Q_OBJECT

public:
    /// The monitor must outlive it.
    explicit StickPort(QmpClient& monitor);

    /// The machine has just been started and has no stick: it gets the one that is to be there.
    void powerOn();
    /// The machine is off: from now on what is asked for is only noted.
    void powerOff();
    void setInserted(bool inserted);
    /// As asked for, unless the machine refused that.
    bool inserted() const { return m_wanted; }

private:
    void move();
    void noteMoved(bool present);

    QmpClient& m_monitor;
    bool m_wanted = false;
    bool m_present = false; ///< in the machine, as far as that has said
    bool m_moving = false;  ///< it has not said yet
    bool m_powered = false;
};
