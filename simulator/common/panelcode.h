#pragma once

#include <array>

/// What the station's panel can show: by its code, the name of its picture, and what it says.
struct PanelCode
{
    int code;
    const char* picture;
    const char* meaning;
};

constexpr int kPanelCopied = 0;
constexpr int kPanelCopyFailed = -2;
constexpr int kPanelLeast = kPanelCopyFailed;
constexpr int kPanelMost = 2;

constexpr std::array<PanelCode, 5> kPanelCodes{{
    {kPanelCopied, "syncOK", "archive copied to the stick"},
    {1, "plugUSB", "wants the stick"},
    {2, "addpod", "wants pods"},
    {-1, "sync", "working"},
    {kPanelCopyFailed, "cross_mark", "copy to the stick failed"},
}};
