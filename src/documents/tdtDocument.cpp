#include "documents/tdtDocument.h"
