#pragma once

#include <KoResult.h>

#include <cstdint>
#include <utility>
#include <vector>

/// Every result code with its name.
inline const std::vector<std::pair<std::uint32_t, const char*>> CODE_NAMES = {
    {KoResult::OK, "OK"},
    {KoResult::NOT_CONNECTED, "NOT_CONNECTED"},
    {KoResult::NOT_FOUND, "NOT_FOUND"},
    {KoResult::NOT_SUPPORTED, "NOT_SUPPORTED"},
    {KoResult::BUFFER_TOO_SMALL, "BUFFER_TOO_SMALL"},
    {KoResult::STATE_ERROR, "STATE_ERROR"},
    {KoResult::TIMEOUT, "TIMEOUT"},
    {KoResult::NOT_OPENED, "NOT_OPENED"},
    {KoResult::GENERIC_ERROR, "GENERIC_ERROR"},
    {KoResult::INVALID_PARAMETER, "INVALID_PARAMETER"},
};
