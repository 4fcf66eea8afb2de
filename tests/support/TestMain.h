#pragma once

// Entry points for the test executables. Each one switches QStandardPaths into test mode before the
// application object exists, so that settings and data folders resolve below the test's own home
// (which isolated-run.sh has already made a fresh temporary folder).

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

#define BREVLIN_TEST_MAIN_WITH(AppClass, TestObject)                                                         \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        QStandardPaths::setTestModeEnabled(true);                                                            \
        AppClass app(argc, argv);                                                                            \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestObject tc;                                                                                       \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }

/// For units that need neither a display nor fonts.
#define BREVLIN_TEST_MAIN_CORE(TestObject) BREVLIN_TEST_MAIN_WITH(QCoreApplication, TestObject)
/// For units that measure fonts or paint, without widgets.
#define BREVLIN_TEST_MAIN_GUI(TestObject) BREVLIN_TEST_MAIN_WITH(QGuiApplication, TestObject)
/// For widget and window tests.
#define BREVLIN_TEST_MAIN_WIDGETS(TestObject) BREVLIN_TEST_MAIN_WITH(QApplication, TestObject)
