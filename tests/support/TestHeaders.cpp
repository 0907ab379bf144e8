// Has the headers of the tests precompiled; holds nothing itself.
