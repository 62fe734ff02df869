#pragma once
// Chassis (case) type codes as stored in one byte of the unit's identity record.
#include <cstdint>

enum KV_CASE_TYPE : int32_t
{
    KV_CASE_TYPE_KM_5U = 3,
    KV_CASE_TYPE_UNASSIGNED_4 = 4,
    KV_CASE_TYPE_KV_MINI = 5,
    KV_CASE_TYPE_UNASSIGNED_6 = 6,
    KV_CASE_TYPE_KV5_4U = 7,
    KV_CASE_TYPE_KV5_6U = 8,
    KV_CASE_TYPE_KM_6U = 9,
    KV_CASE_TYPE_KM_MINI = 10,
    KV_CASE_TYPE_KM_4U = 11,
    KV_CASE_TYPE_KM5_6U = 12,
    KV_CASE_TYPE_KM5_4U = 13,
    KV_CASE_TYPE_KV_UX = 14,
    KV_CASE_TYPE_KM_UX = 15,
    KV_CASE_TYPE_KV_ARC = 16,
    KV_CASE_TYPE_KM_ARC = 17,
    KV_CASE_TYPE_KV_LT = 18,
};
