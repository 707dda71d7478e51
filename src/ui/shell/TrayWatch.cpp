#include "ui/shell/TrayWatch.h"

#include "moc_TrayWatch.cpp"
