#include "documents/catDocument.h"
