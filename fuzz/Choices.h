#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace fuzz
{

/// Numbers that an input makes up for what its format does not tell: its own bytes from the end on, so that the search
/// gets at them; zeros in front of the first.
class Choices
{
public:
    explicit Choices(const QByteArray &input) : m_input(input), m_left(input.size()) {}

    quint8 byte() { return m_left > 0 ? static_cast<quint8>(m_input.at(--m_left)) : quint8(0); }
    quint32 word()
    {
        quint32 value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8U | byte();
        return value;
    }
    quint32 below(quint32 end) { return word() % end; }

private:
    QByteArray m_input;
    int m_left;
};

} // namespace fuzz
