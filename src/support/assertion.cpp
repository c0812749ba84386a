#include "support/assertion.h"
