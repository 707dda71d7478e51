#include "ui/shell/QtMainQueue.h"

#include <QCoreApplication>

#include "platform/MainQueueSuite.h"

namespace quillbay {
namespace {

struct QtLoop {
    QtMainQueue queue;
    void run() { QCoreApplication::exec(); }
    void stop() { QCoreApplication::exit(0); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(QtMainQueue, MainQueueSuite, QtLoop);

}  // namespace
}  // namespace quillbay
