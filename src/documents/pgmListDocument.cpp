#include "documents/pgmListDocument.h"
