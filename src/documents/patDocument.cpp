#include "documents/patDocument.h"
