// The one compile that builds the test programs' precompiled header (see TavroTesting.cmake);
// every test program reuses it. Nothing of this file is linked anywhere.
