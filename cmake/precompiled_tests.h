// What every test includes.
#pragma once

#include <gtest/gtest.h>

#include "precompiled.h"
