#include "ui/models/AppActions.h"

#include "moc_AppActions.cpp"
