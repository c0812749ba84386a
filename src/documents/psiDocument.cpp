#include "documents/psiDocument.h"
