#include "documents/pidListDocument.h"
