#include "model/pidTable.h"
