#!/usr/bin/env bash
# Installs what building and testing LmMockTL needs on Debian 12, and only what is missing. A script
# that needs more passes the extra packages as arguments.
set -euo pipefail
packages=(cmake g++ make pkg-config libgtest-dev nlohmann-json3-dev libxml2-utils binutils
  libpng-dev libjpeg62-turbo-dev libtiff-dev libopenjp2-7-dev libstb-dev libaravis-dev libusb-1.0-0-dev libcli11-dev "$@")
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
