# Completes the arguments of vestigo-scan in fish.

complete -c vestigo-scan -f
complete -c vestigo-scan -n 'not __fish_seen_argument -l all-users' -a '(__fish_complete_directories)'
complete -c vestigo-scan -l all-users -d 'The smart folders, with ~ for the home of every user'
complete -c vestigo-scan -l all -d 'Every Mach-O file, not only the legacy ones'
complete -c vestigo-scan -l json -d 'Print the saved-scan record instead of CSV'
complete -c vestigo-scan -l previous -r -F -d 'What an earlier scan has saved'
complete -c vestigo-scan -l cache -r -F -d 'Remember which files are no Mach-O files'
complete -c vestigo-scan -l no-signatures -d 'Inspect no signatures'
complete -c vestigo-scan -l fail-on-legacy -d 'Exit status 3 when something is to be done'
complete -c vestigo-scan -s h -l help -d 'Print a summary of the options'
complete -c vestigo-scan -s V -l version -d 'Print the version'
