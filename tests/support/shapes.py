# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""JSON Schemas as tests hold answers against them."""


def closed(shape):
    """The same shape, without room for members that it does not name."""
    if isinstance(shape, list):
        return [closed(item) for item in shape]
    if not isinstance(shape, dict):
        return shape
    result = {name: closed(item) for name, item in shape.items()}
    if isinstance(shape.get("properties"), dict) and "type" in shape:
        result.setdefault("additionalProperties", False)
    return result
