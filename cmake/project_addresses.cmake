# Where the project is found, and who answers for its packages. Both addresses are reserved for examples. Put the project's
# own here before anything is published: ./dev package --release refuses these.
set(project_homepage "https://obs-reelhouse.example")
set(project_contact "The Reelhouse developers <developers@obs-reelhouse.example>")
