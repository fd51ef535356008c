#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Emoji and other characters outside the basic plane: 😀 🎉 𝄞 𝔘𝔫𝔦
greeting="Hello 👋 wörld — ünïcödé"
echo "$greeting 🚀" # done ✅
printf "%s\n" "𝒳 = 1" "👨‍👩‍👧 family" "🇫🇷 flag"
echo café "résumé"
