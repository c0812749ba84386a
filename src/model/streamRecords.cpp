#include "model/streamRecords.h"
