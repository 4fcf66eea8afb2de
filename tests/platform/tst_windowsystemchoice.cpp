// In a Wayland session the panel asks for XWayland, unless the user chose a window system already.
#include "Platform.h"
#include "TestMain.h"

#include <QTest>

class TestWindowSystemChoice : public QObject
{
    Q_OBJECT

private:
    static QByteArray choiceWith(const char* wayland, const char* display, const char* chosen)
    {
        auto set = [](const char* name, const char* value) {
            if (value)
                qputenv(name, value);
            else
                qunsetenv(name);
        };
        set("WAYLAND_DISPLAY", wayland);
        set("DISPLAY", display);
        set("QT_QPA_PLATFORM", chosen);
        platform::chooseWindowSystem();
        return qgetenv("QT_QPA_PLATFORM");
    }

private slots:
    void aWaylandSessionRunsOnXWayland()
    {
        QCOMPARE(choiceWith("wayland-0", ":0", nullptr), QByteArray("xcb"));
    }

    void theUsersOwnChoiceIsKept()
    {
        QCOMPARE(choiceWith("wayland-0", ":0", "wayland"), QByteArray("wayland"));
        QCOMPARE(choiceWith("wayland-0", ":0", "offscreen"), QByteArray("offscreen"));
    }

    void withoutXWaylandNothingIsChosen()
    {
        QCOMPARE(choiceWith("wayland-0", nullptr, nullptr), QByteArray());
    }

    void anX11SessionIsLeftAlone() { QCOMPARE(choiceWith(nullptr, ":0", nullptr), QByteArray()); }
};

BREVLIN_TEST_MAIN_CORE(TestWindowSystemChoice)
#include "tst_windowsystemchoice.moc"
