#include "documents/nitDocument.h"
