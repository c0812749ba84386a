#include "mainLoop.h"
