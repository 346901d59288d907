#include "CommandError.h"

#include <utility>

QString oneLine(QString text)
{
    for (QChar &letter : text) {
        if (letter.category() == QChar::Other_Control)
            letter = QChar::ReplacementCharacter;
    }
    return text;
}

CommandError::CommandError(QString text, QString result)
    : m_text(oneLine(std::move(text))), m_result(std::move(result)), m_utf8(m_text.toStdString())
{}

QString argument(const std::string &text)
{
    return QString::fromLocal8Bit(text.data(), static_cast<int>(text.size()));
}

QString quoted(const QString &path)
{
    return QLatin1Char('"') + path + QLatin1Char('"');
}
