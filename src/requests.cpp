#include "requests.h"
