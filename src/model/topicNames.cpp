#include "model/topicNames.h"
