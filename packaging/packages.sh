# The Debian packages that the scripts install; sourced by run.sh and test.sh.

# What the editor is built with and looks like.
build_packages=(g++ cmake ninja-build ccache qt6-base-dev libgl-dev libcli11-dev libssl-dev nlohmann-json3-dev fonts-dejavu-core)

# What the tests need on top: the test framework, and an X server that real key events go to.
test_packages=(libgtest-dev libgmock-dev xvfb xdotool xclip openbox x11-utils dbus-bin dbus-daemon at-spi2-core)

# Where `localedef` takes the character sets from; a test makes a locale with a decimal comma.
test_packages+=(locales)

# Standard tools whose output the tests compare the editor's with.
test_packages+=(xxd srecord binutils diffutils openssl acpica-tools)

# What the manual page and the completions are for: a formatter and a checker of manual pages, and the
# shells beside bash.
test_packages+=(groff-base mandoc zsh fish)
