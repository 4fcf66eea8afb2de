#pragma once

// What a stand-in slide show (fake_slideshow, stage_show) has said on its standard output so far, one line
// per event: "slide N" after a key that turns the slides, "key NAME" after any other key, and, from
// stage_show, "focus in" and "focus out" as the keyboard comes and goes.

#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

class ShowLog
{
public:
    explicit ShowLog(QProcess& show)
        : m_show(show)
    {}

    /// Every line so far, the new ones read first.
    QStringList said()
    {
        m_show.waitForReadyRead(20);
        while (m_show.canReadLine())
            m_lines << QString::fromUtf8(m_show.readLine()).trimmed();
        return m_lines;
    }

    /// The slide on show: the first, or the last one turned to.
    int slide()
    {
        int current = 1;
        for (const QString& line : said())
            if (line.startsWith(QLatin1String("slide ")))
                current = line.mid(6).toInt();
        return current;
    }

    /// The keys the show got that do not turn slides: keys meant for somebody else.
    QStringList keysOtherThanSlides() { return said().filter(QRegularExpression(QStringLiteral("^key "))); }

    /// Whether the show has the keyboard, from the last focus change it logged.
    bool hasKeyboard()
    {
        const QStringList lines = said();
        for (auto it = lines.crbegin(); it != lines.crend(); ++it) {
            if (*it == QLatin1String("focus in"))
                return true;
            if (*it == QLatin1String("focus out"))
                return false;
        }
        return false;
    }

    void clear() { m_lines.clear(); }

private:
    QProcess& m_show;
    QStringList m_lines;
};
