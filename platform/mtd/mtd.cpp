#include "mtd.h"
