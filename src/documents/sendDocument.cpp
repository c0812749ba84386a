#include "documents/sendDocument.h"
