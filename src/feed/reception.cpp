#include "feed/reception.h"
