// SPDX-License-Identifier: MIT
// Placeholder: filled in by its own change.
