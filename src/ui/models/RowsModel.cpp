#include "ui/models/RowsModel.h"

#include "moc_RowsModel.cpp"
