#pragma once

#include <QJsonObject>

class Dice;

/// Sticks as people bring them, with what people have on them. machine: only such as a virtual
/// machine can have.
class StickInventor
{
public:
    StickInventor(Dice& dice, bool machine);

    QJsonObject stick();
    /// One on which a copy goes wrong, or must not take a stranger's place; not for a machine.
    QJsonObject badStick();

private:
    void fill(QJsonObject& content);
    void addCommands(QJsonObject& content);
    void addOddities(QJsonObject& content);
    void spoil(QJsonObject& stick);

    Dice& m_dice;
    bool m_machine;
    int m_foreign_percent; ///< of that day
    int m_command_percent;
    int m_erase_percent;
    int m_oddity_percent;
    int m_spoiled_percent;
};
