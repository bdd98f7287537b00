// Analyzes Android.bp with Soong, the build system of an Android tree. Prints a line for each source of
// the module: the flags that Soong compiles it with, and its name. Ends with 1 if Soong refuses the file.
// Usage: soong FOLDER   (a folder for what Soong writes)
package main

import (
	"fmt"
	"os"

	"android/soong/android"
	"android/soong/cc"
	"android/soong/genrule"
)

// The tree's libraries that the module may name. Soong itself adds those of C and C++.
var libraries = []string{
	"liblog", "libcutils", "libdmabufheap", "libion", "libion_vex", "libsync", "libpxframework",
	"libcjson", "libstb_image_write",
}

func exitOn(errors ...error) {
	for _, err := range errors {
		fmt.Fprintln(os.Stderr, err)
	}
	if len(errors) > 0 {
		os.Exit(1)
	}
}

func main() {
	file, err := os.ReadFile("Android.bp")
	if err != nil {
		exitOn(err)
	}
	modules := string(file)
	for _, name := range libraries {
		modules += fmt.Sprintf("cc_library { name: %q, vendor_available: true }\n", name)
	}

	config := cc.TestConfig(os.Args[1], android.Android, nil, modules, nil)
	api, current := "33", "current"
	config.TestProductVariables.Platform_vndk_version = &api
	config.TestProductVariables.DeviceVndkVersion = &current
	context := cc.CreateTestContext()
	context.RegisterModuleType("genrule", genrule.GenRuleFactory)
	context.Register(config)
	_, errors := context.ParseFileList(".", []string{"Android.bp"})
	exitOn(errors...)
	_, errors = context.PrepareBuildActions(config)
	exitOn(errors...)

	variants := context.ModuleVariantsForTests("VexConverter")
	if len(variants) != 1 || variants[0] != "android_vendor.33_arm64_armv8-a" {
		exitOn(fmt.Errorf("Android.bp: the variants are %v, not the vendor's for 64-bit Arm alone", variants))
	}
	module := context.ModuleForTests("VexConverter", variants[0]).Module()
	flags := module.VariablesForTests()
	for _, step := range module.BuildParamsForTests() {
		if step.Args["cFlags"] != "" {
			fmt.Println(flags["cflags"], flags["cppflags"], step.Input)
		}
	}
}
