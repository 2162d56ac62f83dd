# SPDX-License-Identifier: LGPL-2.1-or-later
"""The parts of the add-on that need only Python 3 and NumPy."""
