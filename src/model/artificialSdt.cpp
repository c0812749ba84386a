#include "model/artificialSdt.h"
