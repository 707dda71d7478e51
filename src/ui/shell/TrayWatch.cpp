#include "ui/shell/TrayWatch.h"
