#include "feed/recordStore.h"
