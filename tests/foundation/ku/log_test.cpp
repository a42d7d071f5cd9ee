#include "filtrix/ku/log.h"
#include <gtest/gtest.h>
