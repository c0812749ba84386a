#include "documents/eitDocument.h"
