#include "feed/feedChannels.h"
