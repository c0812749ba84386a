#include "model/sdtSummary.h"
