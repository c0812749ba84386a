#include "documents/sdtDocument.h"
