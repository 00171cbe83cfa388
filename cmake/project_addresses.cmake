# The project's home page and the maintainer of its packages. Both addresses are reserved for examples. Replace them
# before you publish, here and in README.md: ./dev package --release refuses them.
set(project_homepage "https://obs-reelhouse.example")
set(project_contact "The Reelhouse developers <developers@obs-reelhouse.example>")
