#include "documents/documentText.h"
