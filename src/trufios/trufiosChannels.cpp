#include "trufios/trufiosChannels.h"
