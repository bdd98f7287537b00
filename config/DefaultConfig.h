// These are the built-in format rules, which are the text of default-rules.json.
#pragma once

extern const char* const defaultConfig;
