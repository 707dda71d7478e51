#include <gtest/gtest.h>

#include <QCoreApplication>

// View models need Qt's event loop, and no window.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
