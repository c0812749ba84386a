#include "trufios/trufiosReplies.h"
