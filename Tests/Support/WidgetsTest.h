// The main function of a test program that makes widgets.
#pragma once

#include "Support/VKTest.h"

#include <QApplication>

#define VKTEST_WIDGETS_MAIN(Class)                                                                           \
    int main(int argc, char** argv) {                                                                        \
        return vkTestRun(                                                                                    \
            argc, argv, [] { return std::unique_ptr<QObject>(std::make_unique<Class>()); },                  \
            [](int& count, char** arguments) -> std::unique_ptr<QCoreApplication> {                          \
                return std::make_unique<QApplication>(count, arguments);                                     \
            });                                                                                              \
    }
