# Completion of tarnwick for fish.

set -l commands compress inspect history restore delete clear maintain

# Lists the records of the store that the command line names, each with the name of its file.
function __tarnwick_records
    set -l given (string join ' ' -- (commandline -opc) | string match -r -- '--store[= ](\S+)')
    set -l store
    test -n "$given[2]"; and set store --store $given[2]
    tarnwick $store history --json 2>/dev/null |
        string replace -rf '.*"id":"([^"]*)".*"originalPath":"((?:[^"\\\\]|\\\\.)*)".*' '$1\t$2'
end

# Folders and pictures, from what fish offers for a command without completions.
function __tarnwick_pictures
    complete -C "__tarnwick_pictures "(commandline -ct) |
        string match -ri '^[^\t]*(?:/|\.(?:png|jpe?g|gif|heic|heif))(?:\t.*)?$'
end

complete -c tarnwick -f
complete -c tarnwick -s h -l help -d 显示说明
complete -c tarnwick -l tools -x -a '(__fish_complete_directories)' -d 压缩组件所在的文件夹
complete -c tarnwick -l store -x -a '(__fish_complete_directories)' -d 存放记录和原图备份的文件夹

complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -l version -d 显示版本
complete -c tarnwick -n '__fish_contains_opt version' -l json -d '输出一个 JSON 对象'
complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -a compress -d 压缩图片文件和文件夹中的图片
complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -a inspect -d 查看图片的格式和结构
complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -a history -d 列出压缩记录，最新的在前
complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -a restore -d 恢复原图
complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -a delete -d 删除记录及其原图备份
complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -a clear -d 清除所有记录及其原图备份
complete -c tarnwick -n "not __fish_seen_subcommand_from $commands" -a maintain -d 清理过期和超出容量的原图备份

complete -c tarnwick -n '__fish_seen_subcommand_from compress inspect history restore' -l json -d '每行输出一个 JSON 对象'
complete -c tarnwick -n '__fish_seen_subcommand_from compress' -l again -d 也压缩已是压缩结果的图片
complete -c tarnwick -n '__fish_seen_subcommand_from clear' -l yes -d 不询问，直接清除
complete -c tarnwick -n '__fish_seen_subcommand_from compress inspect restore' -a '(__tarnwick_pictures)'
complete -c tarnwick -n '__fish_seen_subcommand_from restore delete' -a '(__tarnwick_records)'
