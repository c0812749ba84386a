#include "documents/pgmDetailDocument.h"
