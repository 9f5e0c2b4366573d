# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Used by the Doxyfile: turns the links of docs/index.md into subpages, so that the site's tree has the
# documents in the order of that page.
s#^- \[([^]]*)\]\(([a-z_/-]+)\.md\)#- \\subpage md_docs_\2 "\1"#
:again
s#(md_docs_[a-z_]*)[/-]#\1_#
t again
