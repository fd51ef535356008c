// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/TestEnvironment.h"

#include <QApplication>
#include <QString>

class QWidget;

namespace GuiTestSupport {

// Creates $XDG_RUNTIME_DIR with mode 0700: Qt refuses a shared one.
void prepareRuntimeFolder();

// Saves a grab of the widget as NAME-PLATFORM.png under the test output's screenshots folder,
// and answers false when the picture is one flat colour (nothing was drawn) or was not saved.
bool saveScreenshot(QWidget* widget, const QString& name);

} // namespace GuiTestSupport

// BRAMBLEWORTH_TEST_MAIN for tests of windows: a QApplication in the isolated environment.
#define BRAMBLEWORTH_GUI_TEST_MAIN(TestObject)                                                     \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        TestEnvironment environment;                                                               \
        GuiTestSupport::prepareRuntimeFolder();                                                    \
        QApplication app(argc, argv);                                                              \
        TestObject tc;                                                                             \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&tc, argc, argv);                                                      \
    }
