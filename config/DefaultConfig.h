// The built-in format rules: the text of default-rules.json.
#pragma once

extern const char* const defaultConfig;
